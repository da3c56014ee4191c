// The provider panel with a usage history: the forecast under the countdown, the seven-day chart
// (hidden with less than a day of readings), its tooltip, and "Clear history".

#include "model/time_format.h"
#include "model/usage_history.h"
#include "panel_harness.h"
#include "ui/panel/clear_history_button.h"
#include "ui/panel/provider_panel.h"
#include "ui/panel/usage_view.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using enum ProviderID;

namespace {

class HistoryChartTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        setAnimations(false);
        history = std::make_unique<UsageHistory>(*m.model, m.dir.file("history.sqlite"));
        m.model->setHistory(history.get());
        panel = std::make_unique<ProviderPanel>(*m.model, claude);
        host = std::make_unique<Host>(*panel);
    }
    void TearDown() override {
        host.reset();
        panel.reset();
        m.model->setHistory(nullptr);
        history.reset();
        setAnimations(true);
    }

    // Three days of five-hour windows, each used up to a different level, then a busy last half hour.
    void recordThreeDays() {
        const TimePoint now = m.clock.now();
        TimePoint t = now - 72h;
        for (int window = 0; t < now - 40min; ++window) {
            const TimePoint reset = t + 5h;
            const double peak = 30 + (window * 23) % 65;
            for (int step = 0; step <= 10 && t < now - 40min; ++step, t += 25min)
                history->store().record({claude, "session", "Session", peak * step / 10, reset, t});
            t = reset;
        }
    }
    UsageLimit session(double used, TimePoint reset) { return {"session", "Session", used, reset}; }
    UsageView& usage() { return panel->usage(); }

    PanelModel m;
    std::unique_ptr<UsageHistory> history;
    std::unique_ptr<ProviderPanel> panel;
    std::unique_ptr<Host> host;
};

} // namespace

TEST_F(HistoryChartTest, ShowsForecastAndChartOnceTheHistorySaysSomething) {
    const TimePoint reset = m.clock.now() + 3h;
    m.succeed(claude, ScriptedModel::snapshot(session(20, reset)));
    settle();
    EXPECT_FALSE(shown(usage().chart())) << "less than a day of readings";
    EXPECT_FALSE(shown(named<Gtk::Label>(*panel, "pace")));

    history->clear(); // the history is written in time order; start it three days back
    recordThreeDays();
    // Half an hour at a steady 1 % a minute: out long before the reset.
    for (int minute = 0; minute <= 30; minute += 2) {
        m.succeed(claude, ScriptedModel::snapshot(session(27.0 + minute, reset)));
        m.clock.advance(2min);
    }
    m.advance(0s);
    settle();
    HistoryChart& chart = usage().chart();
    ASSERT_TRUE(shown(chart));
    const std::string pace = named<Gtk::Label>(*panel, "pace").get_text();
    EXPECT_EQ(pace.rfind("At this pace: runs out in ", 0), 0u) << pace;
    EXPECT_NE(pace.find(" before the reset"), std::string::npos) << pace;

    // The pointer at the right edge is over the newest reading; left of the first, nothing.
    const auto newest = chart.readingAt(chart.get_width());
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->percentUsed, 57);
    EXPECT_EQ(HistoryChart::describe(*newest), weekdayTime(newest->at) + " · 43% left");
    const auto mid = chart.readingAt(chart.get_width() * 4.5 / 7); // two and a half days ago
    ASSERT_TRUE(mid);
    EXPECT_LT(mid->at, m.clock.now() - 24h);
    EXPECT_FALSE(chart.readingAt(0));

    ClearHistoryButton clear(*m.model);
    press(clear);
    settle();
    EXPECT_FALSE(shown(chart));
    EXPECT_FALSE(shown(named<Gtk::Label>(*panel, "pace")));
    EXPECT_TRUE(history->store().readings(claude, "session", TimePoint{}).empty());
}
