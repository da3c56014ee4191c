#include "ui/panel/history_chart.h"

#include "model/fmt.h"
#include "model/time_format.h"
#include "ui/common/a11y.h"
#include "ui/gauges/draw_support.h"
#include "ui/panel/panel_rules.h"

#include <gtkmm/snapshot.h>
#include <gtkmm/tooltip.h>

namespace ostrel {

using namespace std::chrono_literals;

namespace {
constexpr auto span = 7 * 24h;
constexpr auto minimumCover = 24h;
constexpr double chartHeight = 56;
constexpr double inset = 3; // room for the line's width and the reset dots

double leftOf(const UsageReading& r) {
    return UsageLimit{r.limitId, r.title, r.percentUsed, r.resetsAt}.percentLeft();
}
} // namespace

HistoryChart::HistoryChart() {
    // A picture to a screen reader, named by a summary of what it draws (set with the readings).
    property_accessible_role() = Gtk::Accessible::Role::IMG;
    set_name("history-chart");
    set_size_request(-1, static_cast<int>(chartHeight));
    set_hexpand(true);
    set_margin_bottom(4);
    set_has_tooltip(true);
    signal_query_tooltip().connect(sigc::mem_fun(*this, &HistoryChart::onQueryTooltip), false);
    set_visible(false);
}

void HistoryChart::setReadings(const std::vector<UsageReading>& readings, TimePoint now) {
    readings_.clear();
    now_ = now;
    // The reading in effect at the left edge counts too: it says where the line starts.
    for (std::size_t i = 0; i < readings.size(); ++i)
        if (readings[i].at >= start() || (i + 1 < readings.size() && readings[i + 1].at > start()))
            readings_.push_back(readings[i]);
    set_visible(!readings_.empty() && now_ - readings_.front().at >= minimumCover);
    A11y::setName(*this, chartSummary(readings_));
    queue_draw();
}

TimePoint HistoryChart::start() const {
    return now_ - span;
}

double HistoryChart::xFor(TimePoint t, double width) const {
    const double f =
        std::chrono::duration<double>(std::max(t, start()) - start()) / std::chrono::duration<double>(span);
    return inset + f * (width - 2 * inset);
}

std::optional<UsageReading> HistoryChart::readingAt(double x) const {
    const double width = get_width();
    std::optional<UsageReading> found;
    for (const UsageReading& r : readings_)
        if (xFor(r.at, width) <= x) found = r;
    return found;
}

std::string HistoryChart::describe(const UsageReading& reading) {
    return weekdayTime(reading.at) + " · " + Fmt::percent(leftOf(reading)) + " left";
}

bool HistoryChart::onQueryTooltip(int x, int, bool, const Glib::RefPtr<Gtk::Tooltip>& tooltip) {
    const auto r = readingAt(x);
    if (!r) return false;
    tooltip->set_text(describe(*r));
    return true;
}

void HistoryChart::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const double width = get_width(), height = get_height();
    if (readings_.empty() || width <= 2 * inset || height <= 2 * inset) return;
    const Gdk::RGBA fg = get_style_context()->get_color();
    const Rgba text{fg.get_red(), fg.get_green(), fg.get_blue(), fg.get_alpha()};
    const auto [light, deep] = liquidColors(levelForPercentLeft(leftOf(readings_.back())));
    const auto yFor = [&](double left) { return inset + (1 - left / 100) * (height - 2 * inset); };

    CairoPtr cr = appendCairo(snapshot->gobj(), Rect{0, 0, width, height});
    cairo_t* c = cr.get();

    // Guides at 0, 50 and 100 % and one per day.
    setColour(c, withOpacity(text, 0.12));
    cairo_set_line_width(c, 1);
    for (double left : {0.0, 50.0, 100.0}) {
        cairo_move_to(c, inset, yFor(left) + 0.5);
        cairo_line_to(c, width - inset, yFor(left) + 0.5);
    }
    for (auto day = 24h; day < span; day += 24h) {
        const double x = xFor(start() + day, width);
        cairo_move_to(c, x + 0.5, yFor(100));
        cairo_line_to(c, x + 0.5, yFor(0));
    }
    cairo_stroke(c);

    // The step line: each value holds until the next reading, the last one until now.
    const auto trace = [&] {
        cairo_move_to(c, xFor(readings_.front().at, width), yFor(leftOf(readings_.front())));
        for (std::size_t i = 1; i < readings_.size(); ++i) {
            const double x = xFor(readings_[i].at, width);
            cairo_line_to(c, x, yFor(leftOf(readings_[i - 1])));
            cairo_line_to(c, x, yFor(leftOf(readings_[i])));
        }
        cairo_line_to(c, xFor(now_, width), yFor(leftOf(readings_.back())));
    };
    trace();
    cairo_line_to(c, xFor(now_, width), yFor(0));
    cairo_line_to(c, xFor(readings_.front().at, width), yFor(0));
    cairo_close_path(c);
    PatternPtr fill = verticalGradient(Rect{0, inset, width, height - 2 * inset},
                                       {{0, withOpacity(light, 0.45)}, {1, withOpacity(light, 0.05)}});
    cairo_set_source(c, fill.get());
    cairo_fill(c);
    trace();
    setColour(c, withOpacity(deep, 1));
    cairo_set_line_width(c, 1.5);
    cairo_set_line_join(c, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(c);

    // Reset points.
    setColour(c, withOpacity(text, 0.7));
    for (std::size_t i = 1; i < readings_.size(); ++i) {
        if (!isReset(readings_[i - 1], readings_[i])) continue;
        cairo_arc(c, xFor(readings_[i].at, width), yFor(leftOf(readings_[i])), 2.5, 0, 2 * G_PI);
        cairo_fill(c);
    }
}

} // namespace ostrel
