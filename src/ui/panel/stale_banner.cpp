#include "ui/panel/stale_banner.h"

#include "model/time_format.h"

namespace ostrel {

StaleBanner::StaleBanner(std::function<void()> retry, std::function<void()> openSite)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 8) {
    set_name("stale-banner");
    add_css_class("stale-banner");

    mark_.add_css_class("warning-mark");
    mark_.set_valign(Gtk::Align::CENTER);
    append(mark_);

    text_.add_css_class("caption");
    text_.set_xalign(0);
    text_.set_wrap(true);
    append(text_);

    spacer_.set_hexpand(true);
    spacer_.set_size_request(4, -1);
    append(spacer_);

    openSite_.set_name("banner-open-site");
    openSite_.add_css_class("link-style");
    openSite_.add_css_class("caption");
    openSite_.set_valign(Gtk::Align::CENTER);
    openSite_.signal_clicked().connect([openSite = std::move(openSite)] {
        if (openSite) openSite();
    });
    append(openSite_);

    retry_.set_name("banner-retry");
    retry_.set_label("Retry");
    retry_.add_css_class("link-style");
    retry_.add_css_class("caption");
    retry_.set_valign(Gtk::Align::CENTER);
    retry_.signal_clicked().connect([retry = std::move(retry)] {
        if (retry) retry();
    });
    append(retry_);
}

void StaleBanner::update(std::optional<TimePoint> lastUpdated, const std::optional<std::string>& detail,
                         const std::optional<std::string>& botCheckHost, bool notResponding) {
    openSite_.set_visible(botCheckHost.has_value());
    if (botCheckHost) openSite_.set_label("Open " + *botCheckHost);
    if (notResponding && lastUpdated)
        text_.set_text("Not responding · showing numbers from " + shortTime(*lastUpdated));
    else
        text_.set_text(lastUpdated ? "Couldn't update · showing " + shortTime(*lastUpdated)
                                   : "Couldn't update");
    if (detail && !detail->empty())
        set_tooltip_text(*detail);
    else
        set_has_tooltip(false);
}

void StaleBanner::showOffline(std::optional<TimePoint> lastUpdated) {
    openSite_.set_visible(false);
    text_.set_text(lastUpdated ? "Offline · numbers from " + shortTime(*lastUpdated) : "Offline");
    set_has_tooltip(false);
}

} // namespace ostrel
