#include "ui/panel/main_screen.h"

#include "ui/panel/panel_rules.h"

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

    // A widget is trackable: the connection ends with the screen.
    model_.changed.connect(sigc::mem_fun(*this, &MainScreen::update));
    update();
}

MainScreen::~MainScreen() {
    if (panel_) remove(*panel_);
}

std::optional<ProviderID> MainScreen::selected() const {
    return chooseSelected(model_.tabProviders(), model_.settings().selectedProvider());
}

void MainScreen::update() {
    const auto tabs = model_.tabProviders();
    const auto shown = selected();
    tabs_.set_visible(tabs.size() > 1);
    tabs_.setProviders(tabs);
    tabs_.setSelected(shown.value_or(ProviderID::claude));

    const bool hasPanel = shown && model_.hasProvider(*shown);
    if (!shown)
        message_.set_text("All providers are turned off.\nTurn one on in Settings.");
    else if (!hasPanel)
        message_.set_text(std::string(displayName(*shown)) + " isn't supported yet.");
    message_.set_visible(!hasPanel);

    if (panel_ && (!hasPanel || panel_->id() != *shown)) {
        remove(*panel_);
        retired_.retire(std::move(panel_));
    }
    if (hasPanel && !panel_) {
        // Each service gets its own panel, so its gauge fills afresh when the tab changes.
        panel_ = std::make_unique<ProviderPanel>(model_, *shown);
        append(*panel_);
    }
}

} // namespace ostrel
