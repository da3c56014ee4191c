// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/panel/autostart_row.h"

#include "base/log.h"

namespace ostrel {

AutostartRow::AutostartRow(Autostart autostart)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 4), autostart_(std::move(autostart)),
      switch_("Start at login", [this](bool on) { change(on); }) {
    set_name("start-at-login");
    append(switch_);
    problem_.set_name("start-at-login-problem");
    problem_.add_css_class("caption");
    problem_.add_css_class("note");
    problem_.set_xalign(0);
    problem_.set_wrap(true);
    problem_.set_visible(false);
    append(problem_);
    // The file may change while the app runs; showing the row is when it matters.
    signal_map().connect([this] { update(); });
    update();
}

void AutostartRow::update() {
    switch_.setActive(autostart_.enabled());
}

void AutostartRow::change(bool on) {
    // Also how the switch going back after a failure ends: it asks for what is already there.
    if (autostart_.enabled() == on) return;
    const auto problem = autostart_.setEnabled(on);
    problem_.set_text(problem.value_or(""));
    problem_.set_visible(problem.has_value());
    if (problem) log(*problem);
    update();
}

} // namespace ostrel
