// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/panel/work_area.h"

#include "base/gobject_ptr.h"

#include <algorithm>
// X11's headers define macros (None, Status, True...) that must come after every C++ header.
#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>

namespace ostrel::WorkArea {

namespace {
// Space kept free around the panel: a drop-down never touches the screen's edge.
constexpr int margin = 16;
// Where the desktop does not tell its work area (Wayland), room for a top or bottom bar.
constexpr int barAllowance = 48;
} // namespace

int panelHeightLimit(const Gtk::Widget& widget, int floor) {
    // Only read: GTK's getters take a plain pointer.
    auto* w = const_cast<GtkWidget*>(widget.gobj());
    GdkDisplay* display = gtk_widget_get_display(w);
    if (!display) return floor;
    GObjectPtr<GdkMonitor> owned;
    GdkMonitor* monitor = nullptr;
    if (GtkNative* native = gtk_widget_get_native(w))
        if (GdkSurface* surface = gtk_native_get_surface(native))
            monitor = gdk_display_get_monitor_at_surface(display, surface);
    if (!monitor) {
        GListModel* monitors = gdk_display_get_monitors(display);
        if (g_list_model_get_n_items(monitors) == 0) return floor;
        owned = adopt(GDK_MONITOR(g_list_model_get_item(monitors, 0)));
        monitor = owned.get();
    }
    GdkRectangle area{0, 0, 0, 0};
    gdk_monitor_get_geometry(monitor, &area);
    if (GDK_IS_X11_MONITOR(monitor))
        gdk_x11_monitor_get_workarea(monitor, &area);
    else
        area.height -= barAllowance;
    return std::max(floor, area.height - 2 * margin);
}

} // namespace ostrel::WorkArea
