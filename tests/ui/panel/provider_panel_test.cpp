// The provider panel's four pictures, each from a model state reached through real refreshes, and
// with a usage history: the forecast under the countdown, the seven-day chart, "Clear history".

#include "model/time_format.h"
#include "model/usage_history.h"
#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/clear_history_button.h"
#include "ui/panel/limit_row.h"
#include "ui/panel/provider_logo.h"
#include "ui/panel/provider_panel.h"
#include "ui/panel/stale_banner.h"
#include "ui/panel/usage_view.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <gtkmm/box.h>
#include <gtkmm/separator.h>
#include <gtkmm/spinner.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using enum ProviderID;

namespace {

class ProviderPanelTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        setAnimations(false); // the gauge shows its exact level at once
        panel = std::make_unique<ProviderPanel>(*m.model, claude);
        host = std::make_unique<Host>(*panel);
    }
    void TearDown() override {
        m.model->setHistory(nullptr); // before the history goes
        setAnimations(true);
    }
    UsageView& usage() {
        if (!shown(panel->usage())) throw std::runtime_error("no usage view shown");
        return panel->usage();
    }
    std::vector<std::string> rows() {
        std::vector<std::string> out;
        for (auto* row : all<LimitRow>(*panel))
            out.push_back(row->text());
        return out;
    }

    PanelModel m;
    std::unique_ptr<UsageHistory> history;
    std::unique_ptr<ProviderPanel> panel;
    std::unique_ptr<Host> host;
};

} // namespace

TEST_F(ProviderPanelTest, ChecksFailsWithRetryShowsAMessageByAFadedLogoAndAsksToLogIn) {
    EXPECT_EQ(shownTexts(*panel), std::vector<std::string>{"Checking Claude…"});
    EXPECT_TRUE(all<Gtk::Spinner>(*panel).at(0)->get_spinning());

    m.fail(claude, ProviderError::http(500, "claude.test"));
    EXPECT_EQ(shownTexts(*panel), (std::vector<std::string>{"Error: HTTP 500 from claude.test.", "Retry"}));
    m.answer(claude, PanelModel::snapshot(m.limit("session", 20)));
    press(named<Gtk::Button>(*panel, "retry"));
    EXPECT_EQ(panel->picture(), ProviderPicture::usage);

    // Numbers without a main limit. (Where numbers with one were shown, only an answer that says
    // why may replace them.)
    UsageSnapshot withMessage = PanelModel::snapshot(std::nullopt);
    withMessage.message = "Usage-based pricing: no fixed allowance";
    m.succeed(claude, withMessage);
    EXPECT_EQ(shownTexts(*panel), std::vector<std::string>{"Usage-based pricing: no fixed allowance"});
    m.succeed(claude, PanelModel::snapshot(std::nullopt));
    EXPECT_EQ(shownTexts(*panel), std::vector<std::string>{"No usage data yet"});
    auto logos = all<ProviderLogo>(*panel);
    EXPECT_EQ(std::count_if(logos.begin(), logos.end(), [](auto* logo) { return shown(*logo); }), 1);

    m.fail(claude, ProviderError::needsLogin());
    ASSERT_TRUE(m.model->state(claude).snapshot) << "the numbers are still held";
    EXPECT_EQ(panel->picture(), ProviderPicture::loginPrompt);
    EXPECT_EQ(shownTexts(*panel).size(), 3u) << "a heading, what logging in does, the button";
    press(named<Gtk::Button>(*panel, "log-in"));
    EXPECT_EQ(m.login.shown, std::vector<ProviderID>{claude});
}

TEST_F(ProviderPanelTest, UsageShowsGaugeFigureCountdownAndOtherLimitsClampedAndNotStarted) {
    UsageLimit weekly = m.limit("weekly", 20, 3 * 24h);
    weekly.title = "Weekly";
    UsageLimit opus{"opus", "Opus", 5, std::nullopt};
    m.succeed(claude, PanelModel::snapshot(m.limit("session", 37, 2h + 5min), {weekly, opus}));
    settle();

    GaugeView& gauge = usage().gauge();
    EXPECT_DOUBLE_EQ(gauge.level(), 0.63);
    EXPECT_EQ(gauge.state(), UsageLevel::high);
    EXPECT_EQ(std::string(gauge.get_tooltip_text()),
              "Updated " + shortTime(*m.model->state(claude).lastUpdated));
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "63% left");
    EXPECT_EQ(named<Gtk::Label>(*panel, "figure-detail").get_text(), "Resets in 2h 5m");
    EXPECT_FALSE(shown(named<Gtk::Label>(*panel, "note")));
    EXPECT_TRUE(shown(named<Gtk::Separator>(*panel, "limits-divider")));
    EXPECT_EQ(rows(), (std::vector<std::string>{"Weekly: 80% left · Resets " + weekdayTime(*weekly.resetsAt),
                                                "Opus: 95% left"}));

    // The countdown moves with the model's clock, not with redraws.
    m.clock.advance(10min);
    m.succeed(claude, PanelModel::snapshot(m.model->state(claude).snapshot->main));
    EXPECT_EQ(named<Gtk::Label>(*panel, "figure-detail").get_text(), "Resets in 2h 5m");
    m.advance(0s);
    EXPECT_EQ(named<Gtk::Label>(*panel, "figure-detail").get_text(), "Resets in 1h 55m");
    EXPECT_FALSE(shown(named<Gtk::Separator>(*panel, "limits-divider"))) << "no other limits, no divider";
    EXPECT_TRUE(rows().empty());

    m.settings.setTheme(GaugeTheme::meter);
    settle();
    EXPECT_EQ(gauge.theme(), GaugeTheme::meter);

    // A window not yet started shows no countdown.
    UsageSnapshot fresh = PanelModel::snapshot(m.limit("session", 0, 5h));
    fresh.mainNotStarted = true;
    fresh.note = "On-demand usage is on";
    m.succeed(claude, fresh);
    EXPECT_EQ(named<Gtk::Label>(*panel, "figure-detail").get_text(), "Not started");
    EXPECT_TRUE(showsText(*panel, "On-demand usage is on"));

    m.succeed(claude, PanelModel::snapshot(m.limit("session", 50)));
    EXPECT_FALSE(shown(named<Gtk::Label>(*panel, "figure-detail"))) << "no reset time, no countdown";
}

TEST_F(ProviderPanelTest, AFailureAfterSuccessKeepsTheNumbersUnderAStaleBanner) {
    m.succeed(claude, PanelModel::snapshot(m.limit("session", 40, 1h)));
    auto& banner = named<StaleBanner>(*panel, "stale-banner");
    EXPECT_FALSE(shown(banner));
    const TimePoint fetched = *m.model->state(claude).lastUpdated;

    m.fail(claude, ProviderError::http(502, "claude.test"));
    EXPECT_TRUE(shown(banner)) << "on the numbers, which stay";
    EXPECT_EQ(banner.text(), "Couldn't update · showing " + shortTime(fetched));
    EXPECT_EQ(std::string(banner.get_tooltip_text()), "HTTP 502 from claude.test");
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "60% left");
    auto& openSite = named<Gtk::Button>(*panel, "banner-open-site");
    EXPECT_FALSE(shown(openSite)) << "only a bot check is passed by hand";

    // Offline says so, over any error: every service is old for the same plain reason.
    m.model->setOnline(false);
    EXPECT_EQ(banner.text(), "Offline · numbers from " + shortTime(fetched));
    EXPECT_FALSE(shown(openSite));
    m.model->setOnline(true);
    EXPECT_EQ(banner.text(), "Couldn't update · showing " + shortTime(fetched));

    // A bot check: the numbers stay, and the site can be opened where a person passes the check.
    m.fail(claude, ProviderError::botCheck("claude.test"));
    ASSERT_TRUE(shown(openSite));
    EXPECT_EQ(openSite.get_label(), "Open claude.test");
    press(openSite);
    EXPECT_EQ(m.login.shown, std::vector<ProviderID>{claude});

    m.answer(claude, PanelModel::snapshot(m.limit("session", 45, 1h)));
    press(named<Gtk::Button>(*panel, "banner-retry"));
    EXPECT_FALSE(shown(banner)) << "the next success clears it";
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "55% left");

    // No answer for two poll intervals (an engine that hangs): the numbers stay, and the banner says
    // the service is not responding rather than let them pass for current.
    const TimePoint current = *m.model->state(claude).lastUpdated;
    m.provider(claude).gate = std::make_shared<AsyncEvent>();
    m.model->runOwned(m.model->refresh(claude));
    m.advance(2min + 1s);
    EXPECT_TRUE(shown(banner));
    EXPECT_EQ(banner.text(), "Not responding · showing numbers from " + shortTime(current));
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "55% left");
    m.provider(claude).gate->set();
    EXPECT_FALSE(shown(banner)) << "its answer at last clears it";
}

TEST_F(ProviderPanelTest, ShowsForecastAndChartOnceTheHistorySaysSomething) {
    history = std::make_unique<UsageHistory>(*m.model, m.dir.file("history.sqlite"));
    m.model->setHistory(history.get());
    const TimePoint reset = m.clock.now() + 3h;
    auto session = [&](double used) {
        return PanelModel::snapshot(UsageLimit{"session", "Session", used, reset});
    };
    m.succeed(claude, session(20));
    settle();
    EXPECT_FALSE(shown(usage().chart())) << "less than a day of readings";
    EXPECT_FALSE(shown(named<Gtk::Label>(*panel, "pace")));

    history->clear(); // the history is written in time order; start it three days back
    for (TimePoint t = m.clock.now() - 72h; t < m.clock.now() - 40min; t += 25min)
        history->store().record({claude, "session", "Session", 30, t + 5h, t});
    // Half an hour at a steady 1 % a minute: out long before the reset.
    for (int minute = 0; minute <= 30; minute += 2) {
        m.succeed(claude, session(27.0 + minute));
        m.clock.advance(2min);
    }
    m.advance(0s);
    settle();
    HistoryChart& chart = usage().chart();
    ASSERT_TRUE(shown(chart));
    const std::string pace = named<Gtk::Label>(*panel, "pace").get_text();
    EXPECT_EQ(pace.rfind("At this pace: runs out in ", 0), 0u) << pace;

    // The pointer at the right edge is over the newest reading; left of the first, nothing.
    const auto newest = chart.readingAt(chart.get_width());
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->percentUsed, 57);
    EXPECT_EQ(HistoryChart::describe(*newest), weekdayTime(newest->at) + " · 43% left");
    EXPECT_LT(chart.readingAt(chart.get_width() * 4.5 / 7).value().at, m.clock.now() - 24h) << "2.5 days ago";
    EXPECT_FALSE(chart.readingAt(0));

    // Clearing asks first; until the answer the history stays.
    ClearHistoryButton clear(*m.model);
    Gtk::Box row(Gtk::Orientation::VERTICAL);
    row.append(clear);
    row.append(clear.question());
    Host asking(row);
    settle();
    press(clear);
    EXPECT_TRUE(clear.question().asking());
    press(named<Gtk::Button>(row, "cancel-clear-history"));
    settle();
    EXPECT_TRUE(shown(chart));
    press(clear);
    press(named<Gtk::Button>(row, "confirm-clear-history"));
    settle();
    EXPECT_FALSE(shown(chart));
    EXPECT_FALSE(shown(named<Gtk::Label>(*panel, "pace")));
    EXPECT_TRUE(history->store().readings(claude, "session", TimePoint{}).empty());
}
