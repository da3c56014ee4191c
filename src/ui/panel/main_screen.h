#pragma once
// The main screen: the service tabs (when more than one service is on) and the chosen service's
// panel, or a line saying why there is none.

#include "model/usage_model.h"
#include "ui/panel/provider_panel.h"
#include "ui/panel/provider_tabs.h"
#include "ui/panel/retired_widgets.h"

#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <memory>
#include <optional>

namespace ostrel {

class MainScreen : public Gtk::Box {
  public:
    explicit MainScreen(UsageModel& model);
    ~MainScreen() override;
    MainScreen(const MainScreen&) = delete;
    MainScreen& operator=(const MainScreen&) = delete;

    // The service shown, by the stored choice and its fallbacks.
    std::optional<ProviderID> selected() const;

    ProviderTabs& tabs() { return tabs_; }
    // The shown service's panel, or null while a message stands in for it.
    ProviderPanel* providerPanel() const { return panel_.get(); }
    std::string message() const { return message_.get_visible() ? std::string(message_.get_text()) : ""; }

  private:
    void update();

    UsageModel& model_;
    ProviderTabs tabs_;
    Gtk::Label message_;
    std::unique_ptr<ProviderPanel> panel_;
    RetiredWidgets retired_;
};

} // namespace ostrel
