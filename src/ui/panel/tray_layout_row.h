#pragma once
// "Tray": how the services show in the system tray. Automatic (as the desktop's tray suits), one
// wide label, or one square item per service; the choice is saved at once and the tray follows it.

#include "model/app_settings.h"

#include <gtkmm/box.h>
#include <gtkmm/dropdown.h>
#include <gtkmm/label.h>

namespace ostrel {

class TrayLayoutRow : public Gtk::Box {
  public:
    explicit TrayLayoutRow(AppSettings& settings);

    // Shows the stored choice.
    void update();

  private:
    AppSettings& settings_;
    Gtk::Label text_;
    Gtk::DropDown choice_;
    bool updating_ = false;
};

} // namespace ostrel
