#pragma once
// Warns that the numbers on screen come from an earlier successful refresh: when they were
// fetched, what went wrong since (as the tooltip), and a "Retry" link; when a site's bot check
// stopped us, an "Open <site>" link too, where a person can pass the check by hand. A service that
// has not answered for two poll intervals says so rather than show old numbers as current.

#include "base/time.h"
#include "ui/panel/symbol.h"

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <optional>
#include <string>

namespace ostrel {

class StaleBanner : public Gtk::Box {
  public:
    StaleBanner(std::function<void()> retry, std::function<void()> openSite);

    void update(std::optional<TimePoint> lastUpdated, const std::optional<std::string>& detail,
                const std::optional<std::string>& botCheckHost, bool notResponding = false);
    // No network: "Offline · numbers from 10:42", with "Retry" but no error to tell.
    void showOffline(std::optional<TimePoint> lastUpdated);
    std::string text() const { return text_.get_text(); }

  private:
    Symbol mark_{Symbol::Kind::warning, 12};
    Gtk::Label text_;
    Gtk::Box spacer_;
    Gtk::Button openSite_;
    Gtk::Button retry_;
};

} // namespace ostrel
