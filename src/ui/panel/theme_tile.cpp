#include "ui/panel/theme_tile.h"

#include "ui/panel/theme_preview.h"

#include <gtk/gtk.h>

namespace ostrel {

ThemeTile::ThemeTile(GaugeTheme theme, std::function<void(GaugeTheme)> choose)
    : theme_(theme), gauge_(theme, ThemePreview::defaultPercent / 100,
                            ThemePreview::band(ThemePreview::defaultPercent), true) {
    const std::string name(displayName(theme));
    set_name("tile-" + std::string(rawValue(theme)));
    add_css_class("theme-tile");
    set_hexpand(true);
    set_tooltip_text(name);
    gtk_accessible_update_property(GTK_ACCESSIBLE(gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);

    gauge_.setPreferredSize(ThemePreview::miniatureSize(theme));
    gauge_.set_halign(Gtk::Align::CENTER);
    gauge_.set_valign(Gtk::Align::CENTER);
    gauge_.set_hexpand(true);
    frame_.set_size_request(-1, static_cast<int>(ThemePreview::frameHeight));
    frame_.set_margin_top(12);
    frame_.append(gauge_);
    column_.append(frame_);

    check_.add_css_class("accent");
    check_.set_valign(Gtk::Align::CENTER);
    nameRow_.append(check_);
    name_.set_text(name);
    name_.add_css_class("caption");
    nameRow_.append(name_);
    nameRow_.set_halign(Gtk::Align::CENTER);
    nameRow_.set_margin_bottom(10);
    column_.append(nameRow_);
    set_child(column_);

    signal_clicked().connect([this, choose = std::move(choose)] {
        if (choose) choose(theme_);
    });
    setSelected(false);
}

void ThemeTile::setSelected(bool selected) {
    selected_ = selected;
    check_.set_visible(selected);
    if (selected) {
        add_css_class("selected");
        name_.add_css_class("semibold");
        gtk_accessible_update_state(GTK_ACCESSIBLE(gobj()), GTK_ACCESSIBLE_STATE_SELECTED, TRUE, -1);
    } else {
        remove_css_class("selected");
        name_.remove_css_class("semibold");
        gtk_accessible_reset_state(GTK_ACCESSIBLE(gobj()), GTK_ACCESSIBLE_STATE_SELECTED);
    }
}

void ThemeTile::setPreview(double percent) {
    gauge_.setLevel(percent / 100);
    gauge_.setState(ThemePreview::band(percent));
}

} // namespace ostrel
