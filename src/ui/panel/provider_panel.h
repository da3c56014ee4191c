#pragma once
// The main screen's body for one service: a login prompt, a progress or error message, an
// explanatory message, or the usage view. Each picture is a page of a stack, updated in place and
// chosen afresh from the service's state on every change the model publishes.

#include "model/usage_model.h"
#include "ui/panel/login_prompt.h"
#include "ui/panel/panel_rules.h"
#include "ui/panel/provider_logo.h"
#include "ui/panel/usage_view.h"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/spinner.h>
#include <gtkmm/stack.h>

namespace ostrel {

class ProviderPanel : public Gtk::Box {
  public:
    ProviderPanel(UsageModel& model, ProviderID id);
    ~ProviderPanel() override;
    ProviderPanel(const ProviderPanel&) = delete;
    ProviderPanel& operator=(const ProviderPanel&) = delete;

    ProviderID id() const { return id_; }
    ProviderPicture picture() const { return picture_; }
    UsageView& usage() { return usage_; }

  private:
    void update();
    void showPicture(ProviderPicture picture);

    UsageModel& model_;
    ProviderID id_;
    ProviderPicture picture_ = ProviderPicture::checking;
    Gtk::Stack pictures_;
    LoginPrompt loginPrompt_;
    Gtk::Box checking_{Gtk::Orientation::VERTICAL, 12};
    Gtk::Spinner spinner_;
    Gtk::Label checkingText_;
    Gtk::Box failed_{Gtk::Orientation::VERTICAL, 12};
    Gtk::Label failedText_;
    Gtk::Button retry_;
    Gtk::Button openSite_; // a site's bot check: pass it by hand in the login window
    Gtk::Box info_{Gtk::Orientation::VERTICAL, 12};
    ProviderLogo infoLogo_;
    Gtk::Label infoText_;
    UsageView usage_;
};

} // namespace ostrel
