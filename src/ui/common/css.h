#pragma once
// Style sheets from the program's resource bundle, installed once per display.

#include <gtkmm/widget.h>

namespace ostrel {

// Adds the bundled style sheet `name` (for example "panel.css") to the display of `widget` the first
// time it is asked for; later calls do nothing. The provider lives as long as the display, kept on
// the display itself rather than in a global of ours. A sheet missing from the bundle or with a
// faulty rule is logged; the rest still applies.
void installStyleOnce(Gtk::Widget& widget, const char* name);

} // namespace ostrel
