#include "ui/panel/service_section.h"

#include "ui/panel/panel_actions.h"

namespace ostrel {

ServiceSection::ServiceSection(UsageModel& model, ProviderID id)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 8), model_(model), id_(id), logo_(id, 14),
      track_("Track " + std::string(displayName(id)),
             [&model, id](bool on) { model.settings().setProviderEnabled(id, on); }),
      resetTime_("Show reset time in the tray",
                 [&model, id](bool on) { model.settings().setResetTimeShown(id, on); }),
      askLogOut_("log-out-" + std::string(rawValue(id)), "Log out of " + std::string(displayName(id)) + "?",
                 "Log out", [&model, id] { PanelActions::logOut(model, id); }) {
    const std::string name(displayName(id));
    const std::string raw(rawValue(id));
    set_name("service-" + raw);
    set_halign(Gtk::Align::FILL);

    logo_.set_valign(Gtk::Align::CENTER);
    header_.append(logo_);
    name_.set_text(name);
    name_.add_css_class("headline");
    header_.append(name_);
    append(header_);
    expiry_.set_name("login-expiry-" + raw);
    expiry_.add_css_class("caption");
    expiry_.add_css_class("secondary");
    expiry_.set_halign(Gtk::Align::START);
    append(expiry_);

    track_.set_name("track-" + raw);
    append(track_);
    resetTime_.set_name("reset-time-" + raw);
    append(resetTime_);

    logIn_.set_name("log-in-" + raw);
    logIn_.set_label("Log in to " + name);
    logIn_.add_css_class("suggested-action");
    logIn_.add_css_class("small");
    logIn_.set_halign(Gtk::Align::START);
    logIn_.signal_clicked().connect([&model, id] { model.showLogin(id); });
    append(logIn_);

    switchAccount_.set_name("switch-account-" + raw);
    switchAccount_.set_label("Switch account…");
    switchAccount_.add_css_class("small");
    switchAccount_.signal_clicked().connect([&model, id] { model.switchAccount(id); });
    account_.append(switchAccount_);
    logOut_.set_name("log-out-" + raw);
    logOut_.set_label("Log out");
    logOut_.add_css_class("small");
    logOut_.signal_clicked().connect([this] { askLogOut_.ask(); });
    account_.append(logOut_);
    account_.set_name("account-" + raw);
    append(account_);
    append(askLogOut_);

    update();
}

void ServiceSection::update() {
    const AppSettings& settings = model_.settings();
    const bool enabled = settings.isEnabled(id_);
    track_.setActive(enabled);
    // Turning a service off keeps its reset-time choice: the switch only reads off meanwhile.
    resetTime_.setActive(enabled && settings.showsResetTime(id_));
    resetTime_.set_sensitive(enabled);
    resetTime_.set_opacity(enabled ? 1.0 : 0.5);

    const bool loggedIn = model_.isLoggedIn(id_);
    logIn_.set_visible(!loggedIn);
    logIn_.set_sensitive(enabled && model_.hasProvider(id_));
    account_.set_visible(loggedIn);
    if (!loggedIn) askLogOut_.set_visible(false);
    account_.set_sensitive(enabled);

    const std::optional<std::string> expiry = loginExpiryText(model_.state(id_), model_.now());
    expiry_.set_text(expiry.value_or(""));
    expiry_.set_visible(expiry.has_value());
}

} // namespace ostrel
