#include "ui/panel/main_screen.h"

#include "ui/panel/panel_rules.h"

#include <algorithm>

namespace ostrel {

MainScreen::MainScreen(UsageModel& model)
    : Gtk::Box(Gtk::Orientation::VERTICAL), model_(model),
      tabs_([&model](ProviderID id) { model.settings().setSelectedProvider(std::string(rawValue(id))); }) {
    set_name("main");
    tabs_.set_name("tabs");
    tabs_.set_margin_bottom(10);
    append(tabs_);

    message_.set_name("main-message");
    message_.add_css_class("callout");
    message_.add_css_class("secondary");
    message_.set_justify(Gtk::Justification::CENTER);
    message_.set_wrap(true);
    message_.set_margin_top(30);
    message_.set_margin_bottom(30);
    append(message_);

    // One height for every tab, the tallest one's, so the panel does not jump as the user moves
    // between services; every tab's panel is made as soon as the tab is there.
    panels_.set_hhomogeneous(false);
    panels_.set_vhomogeneous(true);
    append(panels_);

    // A widget is trackable: the connection ends with the screen.
    model_.changed.connect(sigc::mem_fun(*this, &MainScreen::update));
    update();
}

MainScreen::~MainScreen() {
    for (auto& panel : panelOf_)
        if (panel) panels_.remove(*panel);
}

std::optional<ProviderID> MainScreen::selected() const {
    return chooseSelected(model_.tabProviders(), model_.settings().selectedProvider());
}

ProviderPanel* MainScreen::providerPanel() {
    if (!panels_.get_visible()) return nullptr;
    return dynamic_cast<ProviderPanel*>(panels_.get_visible_child());
}

ProviderPanel& MainScreen::panel(ProviderID id) {
    auto& slot = panelOf_[static_cast<std::size_t>(id)];
    if (!slot) {
        slot = std::make_unique<ProviderPanel>(model_, id);
        panels_.add(*slot, std::string(rawValue(id)));
    }
    return *slot;
}

void MainScreen::update() {
    const auto tabs = model_.tabProviders();
    const auto shown = selected();
    tabs_.set_visible(tabs.size() > 1);
    tabs_.setProviders(tabs);
    tabs_.setSelected(shown.value_or(ProviderID::claude));

    for (ProviderID id : tabs)
        if (model_.hasProvider(id)) panel(id);
    // A service turned off leaves the tab row, and its height with it.
    for (std::size_t i = 0; i < panelOf_.size(); ++i)
        if (panelOf_[i]) panelOf_[i]->set_visible(std::ranges::find(tabs, allProviders[i]) != tabs.end());
    const bool hasPanel = shown && model_.hasProvider(*shown);
    if (!shown)
        message_.set_text("All providers are turned off.\nTurn one on in Settings.");
    else if (!hasPanel)
        message_.set_text(std::string(displayName(*shown)) + " isn't supported yet.");
    message_.set_visible(!hasPanel);
    panels_.set_visible(hasPanel);
    if (hasPanel) panels_.set_visible_child(panel(*shown));
}

} // namespace ostrel
