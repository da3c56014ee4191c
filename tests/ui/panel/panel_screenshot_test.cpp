// Pictures of every panel screen in the light and the dark style, for review, under
// OSTREL_BUILD_DIR "/screenshots/panel/".

#include "panel_harness.h"
#include "support/loop.h"
#include "support/screenshot.h"
#include "ui/panel/panel_window.h"
#include "ui/panel/theme_picker_view.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using enum ProviderID;

namespace {

class PanelScreenshots : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        setAnimations(false); // still pictures: gauges at their level, no spinner motion
        setDarkStyle(GetParam());

        UsageLimit weekly = m.limit("weekly", 35, 3 * 24h + 4h);
        weekly.title = "Weekly";
        UsageLimit opus{"opus", "Opus", 12, std::nullopt};
        opus.title = "Weekly Opus";
        m.provider(claude).web_.expiry = m.clock.now() + 5 * 24h + 3h; // "expires in 5 days" in settings
        m.provider(claude).then(PanelModel::snapshot(m.limit("session", 37, 2h + 5min), {weekly, opus}));
        m.provider(cursor).thenThrow(ProviderError::needsLogin());
        m.provider(codex).thenThrow(ProviderError::http(503, "chatgpt.test"));

        window = std::make_unique<PanelWindow>(*m.model, "");
        window->setHidesOnFocusLoss(false);
        app = std::make_unique<RecordedActions>(*window, "app", std::vector<std::string>{"refresh", "quit"});
        window->popup();
        settle();
    }
    void TearDown() override {
        window.reset();
        setDarkStyle(false);
        setAnimations(true);
    }
    void shoot(const std::string& name) {
        settle();
        const std::string path = saveScreenshot(GTK_WIDGET(window->view().gobj()),
                                                "panel/" + name + (GetParam() ? "-dark" : "-light"));
        EXPECT_FALSE(path.empty()) << name;
        EXPECT_EQ(window->view().get_width(), PanelView::width) << name;
    }
    void select(ProviderID id) { m.settings.setSelectedProvider(std::string(rawValue(id))); }

    PanelModel m;
    std::unique_ptr<PanelWindow> window;
    std::unique_ptr<RecordedActions> app; // so the settings screen's buttons draw enabled
};

} // namespace

TEST_P(PanelScreenshots, MainScreenPictures) {
    shoot("main-usage");
    select(cursor);
    shoot("main-login");
    select(codex);
    shoot("main-failed");

    // Numbers held through a later failure (a site's bot check): the stale banner above them.
    m.provider(claude).script.clear();
    m.provider(claude).thenThrow(ProviderError::botCheck("claude.ai"));
    m.refresh(claude);
    select(claude);
    shoot("main-stale");

    // Before anything came back.
    PanelModel fresh;
    fresh.provider(claude).gate = std::make_shared<AsyncEvent>(); // the first fetch stays open
    fresh.settings.setEnabled({claude, cursor});
    PanelWindow checking(*fresh.model, "");
    checking.setHidesOnFocusLoss(false);
    checking.popup();
    settle();
    const std::string path =
        saveScreenshot(GTK_WIDGET(checking.view().gobj()),
                       std::string("panel/main-checking") + (GetParam() ? "-dark" : "-light"));
    EXPECT_FALSE(path.empty());
    fresh.provider(claude).gate->set();
}

TEST_P(PanelScreenshots, OtherScreens) {
    window->view().setScreen(PanelScreen::settings);
    shoot("settings");
    window->view().setScreen(PanelScreen::theme);
    shoot("theme");
    dynamic_cast<ThemePickerView&>(window->view().body()).setPreviewPercent(8); // low band, return offered
    shoot("theme-preview");
    window->view().setScreen(PanelScreen::support);
    shoot("support");
    window->view().setScreen(PanelScreen::supportQR);
    shoot("support-qr");
    window->view().setScreen(PanelScreen::feedback);
    shoot("feedback");
    // With a compositor the card is translucent with rounded corners; the picture keeps its alpha.
    window->view().setScreen(PanelScreen::main);
    window->view().setOpaqueCard(false);
    shoot("main-translucent");
}

INSTANTIATE_TEST_SUITE_P(Styles, PanelScreenshots, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& style) {
                             return style.param ? "Dark" : "Light";
                         });
