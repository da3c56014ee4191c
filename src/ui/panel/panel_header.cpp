#include "ui/panel/panel_header.h"

#include "ui/common/a11y.h"

namespace ostrel {

PanelHeader::PanelHeader() : Gtk::Box(Gtk::Orientation::HORIZONTAL, 6) {
    set_name("header");

    icon_.add_css_class("secondary");
    icon_.set_valign(Gtk::Align::CENTER);
    brand_.append(icon_);
    appName_.set_text("Ostrel");
    appName_.add_css_class("app-name");
    appName_.add_css_class("secondary");
    brand_.append(appName_);
    append(brand_);

    chevron_.add_css_class("secondary");
    chevron_.set_valign(Gtk::Align::CENTER);
    backLabel_.append(chevron_);
    title_.add_css_class("headline");
    title_.add_css_class("secondary");
    backLabel_.append(title_);
    back_.set_name("back");
    back_.add_css_class("plain");
    back_.add_css_class("header-back");
    back_.set_tooltip_text("Back");
    A11y::setName(back_, "Back");
    back_.set_child(backLabel_);
    back_.set_action_name("win.back");
    append(back_);

    spacer_.set_hexpand(true);
    append(spacer_);

    gear_.add_css_class("secondary");
    settings_.set_name("open-settings");
    settings_.add_css_class("plain");
    settings_.add_css_class("header-gear");
    settings_.set_size_request(24, 24);
    settings_.set_tooltip_text("Settings");
    A11y::setName(settings_, "Settings");
    settings_.set_child(gear_);
    settings_.set_action_name("win.settings");
    append(settings_);

    show(PanelScreen::main);
}

void PanelHeader::show(PanelScreen screen) {
    const bool main = screen == PanelScreen::main;
    brand_.set_visible(main);
    settings_.set_visible(main);
    back_.set_visible(!main);
    title_.set_text(std::string(screenTitle(screen)));
}

} // namespace ostrel
