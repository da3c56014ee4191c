// The provider panel's four pictures, each from a model state reached through real refreshes.

#include "model/time_format.h"
#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/limit_row.h"
#include "ui/panel/provider_logo.h"
#include "ui/panel/provider_panel.h"
#include "ui/panel/stale_banner.h"
#include "ui/panel/usage_view.h"

#include <algorithm>
#include <gtest/gtest.h>
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
        host.reset();
        panel.reset();
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
    std::unique_ptr<ProviderPanel> panel;
    std::unique_ptr<Host> host;
};

} // namespace

TEST_F(ProviderPanelTest, ChecksBeforeTheFirstRefreshThenShowsTheFailureWithRetry) {
    EXPECT_EQ(panel->picture(), ProviderPicture::checking);
    EXPECT_EQ(shownTexts(*panel), std::vector<std::string>{"Checking Claude…"});
    ASSERT_EQ(all<Gtk::Spinner>(*panel).size(), 1u);
    EXPECT_TRUE(all<Gtk::Spinner>(*panel).front()->get_spinning());

    m.fail(claude, ProviderError::http(500, "claude.test"));
    EXPECT_EQ(panel->picture(), ProviderPicture::failed);
    EXPECT_EQ(shownTexts(*panel), (std::vector<std::string>{"Error: HTTP 500 from claude.test.", "Retry"}));

    m.answer(claude, PanelModel::snapshot(m.limit("session", 20)));
    const int before = m.provider(claude).fetches;
    press(named<Gtk::Button>(*panel, "retry"));
    EXPECT_EQ(m.provider(claude).fetches, before + 1);
    EXPECT_EQ(panel->picture(), ProviderPicture::usage);
}

TEST_F(ProviderPanelTest, ALoggedOutServiceAsksToLogInEvenWithNumbersHeld) {
    m.succeed(claude, PanelModel::snapshot(m.limit("session", 20)));
    m.fail(claude, ProviderError::needsLogin());
    ASSERT_TRUE(m.model->state(claude).snapshot) << "the numbers are still held";
    EXPECT_EQ(panel->picture(), ProviderPicture::loginPrompt);
    EXPECT_EQ(shownTexts(*panel),
              (std::vector<std::string>{
                  "Connect Claude",
                  "Log in once and Ostrel keeps your usage up to date. You stay logged in between launches.",
                  "Log in to Claude"}));
    press(named<Gtk::Button>(*panel, "log-in"));
    EXPECT_EQ(m.login.shown, std::vector<ProviderID>{claude});
}

TEST_F(ProviderPanelTest, NumbersWithoutAMainLimitShowTheMessageByAFadedLogo) {
    m.succeed(claude, PanelModel::snapshot(std::nullopt));
    EXPECT_EQ(panel->picture(), ProviderPicture::info);
    EXPECT_EQ(shownTexts(*panel), std::vector<std::string>{"No usage data yet"});
    auto logos = all<ProviderLogo>(*panel);
    EXPECT_EQ(std::count_if(logos.begin(), logos.end(), [](auto* logo) { return shown(*logo); }), 1);

    UsageSnapshot withMessage = PanelModel::snapshot(std::nullopt);
    withMessage.message = "Usage-based pricing: no fixed allowance";
    m.succeed(claude, withMessage);
    EXPECT_EQ(shownTexts(*panel), std::vector<std::string>{"Usage-based pricing: no fixed allowance"});
}

TEST_F(ProviderPanelTest, UsageShowsGaugeFigureCountdownAndSecondaryLimits) {
    UsageLimit weekly = m.limit("weekly", 20, 3 * 24h);
    weekly.title = "Weekly";
    UsageLimit opus{"opus", "Opus", 5, std::nullopt};
    m.succeed(claude, PanelModel::snapshot(m.limit("session", 37, 2h + 5min), {weekly, opus}));
    ASSERT_EQ(panel->picture(), ProviderPicture::usage);
    host->settle();

    GaugeView& gauge = usage().gauge();
    EXPECT_DOUBLE_EQ(gauge.level(), 0.63);
    EXPECT_EQ(gauge.state(), UsageLevel::high);
    EXPECT_EQ(gauge.theme(), GaugeTheme::glass);
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
    EXPECT_EQ(&usage().gauge(), &gauge) << "the same gauge is updated in place";
    EXPECT_FALSE(shown(named<Gtk::Separator>(*panel, "limits-divider"))) << "no other limits, no divider";
    EXPECT_TRUE(rows().empty());

    m.settings.setTheme(GaugeTheme::meter);
    settle();
    EXPECT_EQ(gauge.theme(), GaugeTheme::meter);
}

TEST_F(ProviderPanelTest, FiguresAreClampedAndNotStartedHidesTheCountdown) {
    m.succeed(claude, PanelModel::snapshot(m.limit("session", 120, 1h)));
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "0% left");
    EXPECT_DOUBLE_EQ(usage().gauge().level(), 0);
    EXPECT_EQ(usage().gauge().state(), UsageLevel::low);

    UsageSnapshot fresh = PanelModel::snapshot(m.limit("session", -5, 5h));
    fresh.mainNotStarted = true;
    fresh.note = "On-demand usage is on";
    m.succeed(claude, fresh);
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "100% left");
    EXPECT_DOUBLE_EQ(usage().gauge().level(), 1);
    EXPECT_EQ(named<Gtk::Label>(*panel, "figure-detail").get_text(), "Not started");
    EXPECT_TRUE(shown(named<Gtk::Label>(*panel, "note")));
    EXPECT_EQ(named<Gtk::Label>(*panel, "note").get_text(), "On-demand usage is on");

    m.succeed(claude, PanelModel::snapshot(m.limit("session", 50)));
    EXPECT_FALSE(shown(named<Gtk::Label>(*panel, "figure-detail"))) << "no reset time, no countdown";
}

TEST_F(ProviderPanelTest, AFailureAfterSuccessKeepsTheNumbersUnderAStaleBanner) {
    m.succeed(claude, PanelModel::snapshot(m.limit("session", 40, 1h)));
    auto& banner = named<StaleBanner>(*panel, "stale-banner");
    EXPECT_FALSE(shown(banner));
    const TimePoint fetched = *m.model->state(claude).lastUpdated;

    m.fail(claude, ProviderError::http(502, "claude.test"));
    EXPECT_EQ(panel->picture(), ProviderPicture::usage);
    EXPECT_TRUE(shown(banner));
    EXPECT_EQ(banner.text(), "Couldn't update · showing " + shortTime(fetched));
    EXPECT_EQ(std::string(banner.get_tooltip_text()), "HTTP 502 from claude.test");
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "60% left");
    auto& openSite = named<Gtk::Button>(*panel, "banner-open-site");
    EXPECT_FALSE(shown(openSite)) << "only a bot check is passed by hand";

    // A bot check: the numbers stay, and the site can be opened where a person passes the check.
    m.fail(claude, ProviderError::botCheck("claude.test"));
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "60% left");
    ASSERT_TRUE(shown(openSite));
    EXPECT_EQ(openSite.get_label(), "Open claude.test");
    press(openSite);
    EXPECT_EQ(m.login.shown, std::vector<ProviderID>{claude});

    m.answer(claude, PanelModel::snapshot(m.limit("session", 45, 1h)));
    const int before = m.provider(claude).fetches;
    press(named<Gtk::Button>(*panel, "banner-retry"));
    EXPECT_EQ(m.provider(claude).fetches, before + 1);
    EXPECT_FALSE(shown(banner)) << "the next success clears it";
    EXPECT_EQ(named<Gtk::Label>(*panel, "big-figure").get_text(), "55% left");
}
