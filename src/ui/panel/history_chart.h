#pragma once
// A small chart of a service's main limit over the last seven days: the percentage left as a step
// line (a value holds until the next reading), filled below in the level's colours, with a dot
// where the limit reset. Hovering shows the reading under the pointer. Hidden until the history
// covers at least a day.

#include "model/forecast.h"

#include <gtkmm/widget.h>
#include <optional>
#include <vector>

namespace ostrel {

class HistoryChart : public Gtk::Widget {
  public:
    HistoryChart();

    // `readings` oldest first; `now` is the chart's right edge.
    void setReadings(const std::vector<UsageReading>& readings, TimePoint now);

    // The reading in effect at `x` points from the left edge, if any (what the tooltip shows).
    std::optional<UsageReading> readingAt(double x) const;
    // The tooltip text for a reading: "Thu 9:30 PM · 43% left".
    static std::string describe(const UsageReading& reading);

  protected:
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    bool onQueryTooltip(int x, int y, bool keyboard, const Glib::RefPtr<Gtk::Tooltip>& tooltip);
    TimePoint start() const;
    double xFor(TimePoint t, double width) const;

    std::vector<UsageReading> readings_;
    TimePoint now_;
};

} // namespace ostrel
