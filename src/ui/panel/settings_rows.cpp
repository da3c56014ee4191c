#include "ui/panel/settings_rows.h"

#include "ui/common/a11y.h"

namespace ostrel {

NavigationRow::NavigationRow(const std::string& text, const char* actionName) {
    add_css_class("plain");
    add_css_class("row-button");
    set_hexpand(true);
    text_.set_text(text);
    text_.set_hexpand(true);
    text_.set_xalign(0);
    row_.append(text_);
    value_.add_css_class("secondary");
    value_.set_visible(false);
    row_.append(value_);
    chevron_.add_css_class("tertiary");
    chevron_.set_valign(Gtk::Align::CENTER);
    row_.append(chevron_);
    set_child(row_);
    set_action_name(actionName);
    A11y::setName(*this, text);
}

void NavigationRow::setValue(const std::string& value) {
    value_.set_text(value);
    value_.set_visible(!value.empty());
    // Heard after the name, as it is seen after it: "Theme", "Glass".
    A11y::setDescription(*this, value);
}

SwitchRow::SwitchRow(const std::string& text, std::function<void(bool)> onToggle)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 8), onToggle_(std::move(onToggle)) {
    text_.set_text(text);
    text_.set_hexpand(true);
    text_.set_xalign(0);
    text_.set_wrap(true);
    append(text_);
    switch_.set_valign(Gtk::Align::CENTER);
    A11y::labelBy(switch_, text_);
    switch_.property_active().signal_changed().connect([this] {
        if (!updating_ && onToggle_) onToggle_(switch_.get_active());
    });
    append(switch_);
}

void SwitchRow::setActive(bool active) {
    if (switch_.get_active() == active) return;
    updating_ = true;
    switch_.set_active(active);
    updating_ = false;
}

} // namespace ostrel
