#pragma once
// The panel's look. Its root carries the "ostrel-panel" class and every rule is scoped under it;
// text styles are classes ("callout", "caption", "headline", "secondary", ...) so each view only
// says what a label is, not how big or which colour.

#include <gtkmm/widget.h>

namespace ostrel::PanelStyle {

// Adds the panel's style sheet to `widget`'s display (once per display) and marks `widget` as a
// panel root.
void apply(Gtk::Widget& widget);
// Only installs the style sheet (for windows whose content is a panel root).
void install(Gtk::Widget& widget);

// Whether the widget is drawn on a dark background (its text colour is light).
bool isDark(Gtk::Widget& widget);

} // namespace ostrel::PanelStyle
