#include "ui/panel/x11_placement.h"

#include "base/gobject_ptr.h"

// X11's headers define macros (None, Status, True...) that must come after every C++ header.
#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>

namespace ostrel::X11Placement {

namespace {

GdkSurface* x11Surface(Gtk::Window& window) {
    GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window.gobj()));
    return surface && GDK_IS_X11_SURFACE(surface) ? surface : nullptr;
}

// The work area of the monitor holding `pointer` (root coordinates, device pixels), falling back
// to the monitor of the window.
ScreenRect workAreaAt(GdkSurface* surface, ScreenPoint pointer, int scale) {
    GdkDisplay* display = gdk_surface_get_display(surface);
    GListModel* monitors = gdk_display_get_monitors(display);
    GdkMonitor* chosen = nullptr;
    for (guint i = 0; i < g_list_model_get_n_items(monitors); ++i) {
        GObjectPtr<GdkMonitor> monitor = adopt(GDK_MONITOR(g_list_model_get_item(monitors, i)));
        GdkRectangle geometry;
        gdk_monitor_get_geometry(monitor.get(), &geometry);
        const ScreenRect area{geometry.x * scale, geometry.y * scale, geometry.width * scale,
                              geometry.height * scale};
        if (area.contains(pointer) || !chosen) chosen = monitor.get();
        if (area.contains(pointer)) break;
    }
    if (!chosen) chosen = gdk_display_get_monitor_at_surface(display, surface);
    GdkRectangle work{0, 0, 0, 0};
    if (chosen) gdk_x11_monitor_get_workarea(chosen, &work);
    return {work.x * scale, work.y * scale, work.width * scale, work.height * scale};
}

} // namespace

bool onX11Display(Gtk::Window& window) {
    return GDK_IS_X11_DISPLAY(window.get_display()->gobj());
}

bool available(Gtk::Window& window) {
    return x11Surface(window) != nullptr;
}

void moveNear(Gtk::Window& window, ScreenPoint pointer) {
    GdkSurface* surface = x11Surface(window);
    if (!surface) return;
    const int scale = gdk_surface_get_scale_factor(surface);
    int width = window.get_width();
    int height = window.get_height();
    if (width <= 0 || height <= 0) {
        // Not laid out yet: the size it is about to get.
        int minimum = 0, baseline = -1;
        window.measure(Gtk::Orientation::HORIZONTAL, -1, minimum, width, baseline, baseline);
        window.measure(Gtk::Orientation::VERTICAL, width, minimum, height, baseline, baseline);
    }
    const ScreenRect area = workAreaAt(surface, pointer, scale);
    const ScreenPoint corner = placePanel(pointer, width * scale, height * scale, area);
    Display* xdisplay = gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface));
    XMoveWindow(xdisplay, gdk_x11_surface_get_xid(surface), corner.x, corner.y);
    XFlush(xdisplay);
}

std::optional<ScreenPoint> position(Gtk::Window& window) {
    GdkSurface* surface = x11Surface(window);
    if (!surface) return std::nullopt;
    Display* xdisplay = gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface));
    const Window xid = gdk_x11_surface_get_xid(surface);
    int x = 0, y = 0;
    Window child = 0;
    XSync(xdisplay, False);
    if (!XTranslateCoordinates(xdisplay, xid, DefaultRootWindow(xdisplay), 0, 0, &x, &y, &child))
        return std::nullopt;
    return ScreenPoint{x, y};
}

void markAsDropDown(Gtk::Window& window, bool dropDown) {
    GdkSurface* surface = x11Surface(window);
    if (!surface) return;
    gdk_x11_surface_set_skip_taskbar_hint(surface, dropDown);
    gdk_x11_surface_set_skip_pager_hint(surface, dropDown);
}

} // namespace ostrel::X11Placement
