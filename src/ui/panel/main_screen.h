#pragma once
// The main screen: the service tabs (when more than one service is on) and the chosen service's
// panel, or a line saying why there is none. Each service's panel is a page of a stack, made the
// first time the service is shown and kept after.

#include "model/usage_model.h"
#include "ui/panel/provider_panel.h"
#include "ui/panel/provider_tabs.h"

#include <array>
#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/stack.h>
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
    ProviderPanel* providerPanel();
    std::string message() const { return message_.get_visible() ? std::string(message_.get_text()) : ""; }

  private:
    void update();
    ProviderPanel& panel(ProviderID id);

    UsageModel& model_;
    ProviderTabs tabs_;
    Gtk::Label message_;
    Gtk::Stack panels_;
    std::array<std::unique_ptr<ProviderPanel>, allProviders.size()> panelOf_;
};

} // namespace ostrel
