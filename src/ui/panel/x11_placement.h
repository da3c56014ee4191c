#pragma once
// Moving a toplevel on X11, which GTK 4 cannot do itself: the panel is placed next to the tray
// click with XMoveWindow on its own window.

#include "ui/panel/panel_placement.h"

#include <gtkmm/window.h>
#include <optional>

namespace ostrel::X11Placement {

// Whether the window is on an X11 display (GDK's display type: false on Wayland).
bool onX11Display(Gtk::Window& window);
// Whether the window's surface is an X11 one (false on Wayland, or before it is realized).
bool available(Gtk::Window& window);
// Moves the mapped window so that it opens by a click at root coordinates `pointer`, inside the
// work area of the monitor under the pointer. Does nothing when not on X11.
void moveNear(Gtk::Window& window, ScreenPoint pointer);
// The window's top-left corner in root coordinates, when on X11.
std::optional<ScreenPoint> position(Gtk::Window& window);
// Keeps the panel out of the task bar and pager, as a drop-down should be (or lets it back in, when
// it is a window of its own).
void markAsDropDown(Gtk::Window& window, bool dropDown = true);

} // namespace ostrel::X11Placement
