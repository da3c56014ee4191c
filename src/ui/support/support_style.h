#pragma once
// The look shared by the feedback, support and payment screens. Each screen's root carries the
// "ostrel-support" class, and every rule is scoped under it, so nothing else in the panel changes.

#include <gtkmm/widget.h>

namespace ostrel::SupportStyle {

// Adds the screens' style sheet to `widget`'s display (once per display) and marks `widget` as a
// screen root.
void apply(Gtk::Widget& widget);

} // namespace ostrel::SupportStyle
