#pragma once
// One service's part of the settings screen: its logo and name, "Track <Name>", "Show reset time in
// the tray", when the login runs out, and the account controls that follow whether the service is logged in.

#include "model/usage_model.h"
#include "ui/panel/confirm_row.h"
#include "ui/panel/provider_logo.h"
#include "ui/panel/settings_rows.h"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>

namespace ostrel {

class ServiceSection : public Gtk::Box {
  public:
    ServiceSection(UsageModel& model, ProviderID id);

    // Reads the settings and the model again.
    void update();

  private:
    UsageModel& model_;
    ProviderID id_;
    Gtk::Box header_{Gtk::Orientation::HORIZONTAL, 6};
    ProviderLogo logo_;
    Gtk::Label name_;
    Gtk::Label expiry_; // "Logged in · expires in 5 days", when the login cookie says
    SwitchRow track_;
    SwitchRow resetTime_;
    Gtk::Button logIn_;
    Gtk::Box account_{Gtk::Orientation::HORIZONTAL, 8};
    Gtk::Button switchAccount_;
    Gtk::Button logOut_;
    ConfirmRow askLogOut_; // the log-out waits for this answer
};

} // namespace ostrel
