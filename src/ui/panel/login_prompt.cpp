#include "ui/panel/login_prompt.h"

namespace ostrel {

LoginPrompt::LoginPrompt(ProviderID id, std::function<void()> action)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 12), logo_(id, 40) {
    const std::string name(displayName(id));
    set_name("login-prompt");
    set_hexpand(true);
    set_margin_top(24);
    set_margin_bottom(24);

    logo_.set_halign(Gtk::Align::CENTER);
    append(logo_);

    title_.set_text("Connect " + name);
    title_.add_css_class("headline");
    append(title_);

    text_.set_text(
        "Log in once and Ostrel keeps your usage up to date. You stay logged in between launches.");
    text_.add_css_class("callout");
    text_.add_css_class("secondary");
    text_.set_wrap(true);
    text_.set_justify(Gtk::Justification::CENTER);
    text_.set_max_width_chars(40);
    append(text_);

    button_.set_name("log-in");
    button_.set_label("Log in to " + name);
    button_.add_css_class("suggested-action");
    button_.add_css_class("large");
    button_.set_halign(Gtk::Align::CENTER);
    button_.signal_clicked().connect([action = std::move(action)] {
        if (action) action();
    });
    append(button_);
}

} // namespace ostrel
