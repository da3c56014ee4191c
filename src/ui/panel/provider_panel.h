#pragma once
// The main screen's body for one service: a login prompt, a progress or error message, an
// explanatory message, or the usage view, chosen afresh from the service's state on every change
// the model publishes.

#include "model/usage_model.h"
#include "ui/panel/panel_rules.h"
#include "ui/panel/retired_widgets.h"

#include <gtkmm/box.h>
#include <memory>
#include <string>

namespace ostrel {

class UsageView;

class ProviderPanel : public Gtk::Box {
  public:
    ProviderPanel(UsageModel& model, ProviderID id);
    ~ProviderPanel() override;
    ProviderPanel(const ProviderPanel&) = delete;
    ProviderPanel& operator=(const ProviderPanel&) = delete;

    ProviderID id() const { return id_; }
    ProviderPicture picture() const { return picture_; }
    // The usage view while it is the picture shown, else null.
    UsageView* usage() const { return usage_; }

  private:
    void update();
    std::unique_ptr<Gtk::Widget> build(const ProviderState& state);
    std::unique_ptr<Gtk::Widget> messageStack(bool withLogo, const std::string& text, bool retry);

    UsageModel& model_;
    ProviderID id_;
    ProviderPicture picture_ = ProviderPicture::checking;
    std::string shownText_; // what a message picture says, to rebuild only when it changes
    std::unique_ptr<Gtk::Widget> content_;
    UsageView* usage_ = nullptr;
    RetiredWidgets retired_;
};

} // namespace ostrel
