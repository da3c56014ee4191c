// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// How tall the panel may be on the screen it is shown on: the monitor's work area (the screen less
// the desktop's bars) where the desktop says, else the whole monitor less room for a bar.

#include <gtkmm/widget.h>

namespace ostrel::WorkArea {

// The tallest the panel may be, in logical pixels: the work area of the widget's monitor (the first
// monitor before it is shown) less a margin, never below `floor`.
int panelHeightLimit(const Gtk::Widget& widget, int floor);

} // namespace ostrel::WorkArea
