#pragma once
// Invites the user to log in to a service: its logo, "Connect <Name>", a line on what happens,
// and the log-in button.

#include "ui/panel/provider_logo.h"

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>

namespace ostrel {

class LoginPrompt : public Gtk::Box {
  public:
    LoginPrompt(ProviderID id, std::function<void()> action);

  private:
    ProviderLogo logo_;
    Gtk::Label title_;
    Gtk::Label text_;
    Gtk::Button button_;
};

} // namespace ostrel
