// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// "Start at login": a switch over the autostart entry. It shows what the file says each time the
// row is shown, and when a change cannot be made it says why and goes back to what the file says.

#include "model/autostart.h"
#include "ui/panel/settings_rows.h"

#include <gtkmm/box.h>
#include <gtkmm/label.h>

namespace ostrel {

class AutostartRow : public Gtk::Box {
  public:
    explicit AutostartRow(Autostart autostart);

    // Reads the entry again.
    void update();

  private:
    void change(bool on);

    Autostart autostart_;
    SwitchRow switch_;
    Gtk::Label problem_;
};

} // namespace ostrel
