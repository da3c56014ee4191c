// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What a screen reader says for a widget: its name, the description a tooltip gives, the label
// that names it, and a meter's value. Thin wrappers over GTK's accessible properties.

#include <gtkmm/widget.h>
#include <string>

namespace ostrel::A11y {

void setName(Gtk::Widget& widget, const std::string& name);
void setDescription(Gtk::Widget& widget, const std::string& description);
// The visible `label` names `widget` (a switch by its row's text), so the two never disagree.
void labelBy(Gtk::Widget& widget, Gtk::Widget& label);
// A meter's range and value, and how the value reads ("71% left, resets in 2h").
void setValue(Gtk::Widget& widget, double min, double max, double now, const std::string& text);

} // namespace ostrel::A11y
