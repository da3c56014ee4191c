#pragma once
// A service's numbers: the stale banner when the last refresh failed, the themed gauge, the big
// figure of what is left with its countdown or "Not started", the service's note, and one row per
// secondary limit. It is updated in place so the gauge slides to new levels instead of refilling.

#include "model/usage_model.h"
#include "ui/gauges/gauge_view.h"
#include "ui/panel/history_chart.h"
#include "ui/panel/limit_row.h"
#include "ui/panel/stale_banner.h"

#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/separator.h>
#include <memory>
#include <vector>

namespace ostrel {

class UsageView : public Gtk::Box {
  public:
    UsageView(UsageModel& model, ProviderID id);
    ~UsageView() override;
    UsageView(const UsageView&) = delete;
    UsageView& operator=(const UsageView&) = delete;

    // `state` must hold a snapshot with a main limit.
    void update(const ProviderState& state);

    GaugeView& gauge() { return gauge_; }
    HistoryChart& chart() { return chart_; }

  private:
    void setRows(const std::vector<UsageLimit>& others);
    void updateHistory();

    UsageModel& model_;
    ProviderID id_;
    StaleBanner banner_;
    GaugeView gauge_;
    Gtk::Box figures_{Gtk::Orientation::VERTICAL, 4};
    Gtk::Label big_;
    Gtk::Label detail_;
    Gtk::Label pace_; // the forecast at the recent pace, under the countdown
    Gtk::Label note_;
    HistoryChart chart_;
    Gtk::Separator divider_;
    Gtk::Box rows_{Gtk::Orientation::VERTICAL, 4};
    std::vector<std::unique_ptr<LimitRow>> limitRows_;
    std::vector<UsageLimit> shownOthers_;
};

} // namespace ostrel
