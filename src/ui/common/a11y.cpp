// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/common/a11y.h"

#include <gtk/gtk.h>

namespace ostrel::A11y {

namespace {
GtkAccessible* of(Gtk::Widget& widget) {
    return GTK_ACCESSIBLE(widget.gobj());
}
} // namespace

void setName(Gtk::Widget& widget, const std::string& name) {
    gtk_accessible_update_property(of(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

void setDescription(Gtk::Widget& widget, const std::string& description) {
    gtk_accessible_update_property(of(widget), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, description.c_str(), -1);
}

void labelBy(Gtk::Widget& widget, Gtk::Widget& label) {
    gtk_accessible_update_relation(of(widget), GTK_ACCESSIBLE_RELATION_LABELLED_BY, label.gobj(), nullptr,
                                   -1);
}

void setValue(Gtk::Widget& widget, double min, double max, double now, const std::string& text) {
    gtk_accessible_update_property(of(widget), GTK_ACCESSIBLE_PROPERTY_VALUE_MIN, min,
                                   GTK_ACCESSIBLE_PROPERTY_VALUE_MAX, max, GTK_ACCESSIBLE_PROPERTY_VALUE_NOW,
                                   now, GTK_ACCESSIBLE_PROPERTY_VALUE_TEXT, text.c_str(), -1);
}

} // namespace ostrel::A11y
