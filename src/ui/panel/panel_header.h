#pragma once
// The panel's header row: the app's icon and name with the settings button on the main screen, a
// back button titled with the screen's name everywhere else. All of it in the secondary colour.
// The buttons activate the panel's "win.back" and "win.settings".

#include "ui/panel/panel_screen.h"
#include "ui/panel/provider_logo.h"
#include "ui/panel/symbol.h"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>

namespace ostrel {

class PanelHeader : public Gtk::Box {
  public:
    PanelHeader();

    void show(PanelScreen screen);

    Gtk::Button& backButton() { return back_; }
    Gtk::Button& settingsButton() { return settings_; }
    std::string title() const { return title_.get_text(); }

  private:
    Gtk::Box brand_{Gtk::Orientation::HORIZONTAL, 6};
    ArtworkImage icon_{"MenuBarIcon", 14};
    Gtk::Label appName_;
    Gtk::Button back_;
    Gtk::Box backLabel_{Gtk::Orientation::HORIZONTAL, 4};
    Symbol chevron_{Symbol::Kind::chevronLeft, 12, 1.3};
    Gtk::Label title_;
    Gtk::Box spacer_;
    Gtk::Button settings_;
    Symbol gear_{Symbol::Kind::gear, 14};
};

} // namespace ostrel
