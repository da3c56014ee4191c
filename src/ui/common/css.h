#pragma once
// Style sheets installed once per display.

#include <gtkmm/widget.h>

namespace ostrel {

// Adds `css` to the display of `widget` the first time it is asked for under `key`; later calls
// with the same key do nothing. The provider lives as long as the display, kept on the display
// itself rather than in a global of ours.
void installStyleOnce(Gtk::Widget& widget, const char* key, const char* css);

} // namespace ostrel
