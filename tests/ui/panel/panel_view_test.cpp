// The panel's screens, header, shortcuts and service choice, driven through the real window.

#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/main_screen.h"
#include "ui/panel/panel_window.h"
#include "ui/panel/theme_picker_view.h"
#include "ui/support/support_amount_view.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using enum ProviderID;

namespace {

class PanelViewTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(startGtk()) << "no display"; }
    void TearDown() override {
        window.reset();
        drain();
    }

    void open() {
        for (auto& [id, p] : m->scripted) {
            p->then(PanelModel::snapshot(m->limit("session", 30)));
            p->fetches = 0; // count only what the panel asks for
        }
        window = std::make_unique<PanelWindow>(*m->model, "");
        app = std::make_unique<RecordedActions>(*window, "app", std::vector<std::string>{"refresh", "quit"});
        window->setHidesOnFocusLoss(false);
        window->popup();
        settle();
    }
    PanelView& view() { return window->view(); }
    Gtk::Button& button(const char* name) { return named<Gtk::Button>(*window, name); }
    int fetches(ProviderID id) { return m->provider(id).fetches; }
    std::optional<ProviderID> shownPanel() {
        ProviderPanel* panel = view().mainScreen().providerPanel();
        if (!panel) return std::nullopt;
        return panel->id();
    }

    std::unique_ptr<PanelModel> m = std::make_unique<PanelModel>();
    std::unique_ptr<PanelWindow> window;
    std::unique_ptr<RecordedActions> app; // stands in for the application's actions
};

} // namespace

TEST_F(PanelViewTest, ScreensFollowTheirButtonsAndTheBackTable) {
    open();
    PanelHeader& header = view().header();
    EXPECT_EQ(view().screen(), PanelScreen::main);
    EXPECT_TRUE(showsText(header, "Ostrel"));
    EXPECT_FALSE(shown(header.backButton()));

    press(header.settingsButton());
    EXPECT_EQ(view().screen(), PanelScreen::settings);
    EXPECT_EQ(shownTexts(header), std::vector<std::string>{"Settings"});
    EXPECT_TRUE(shown(header.backButton()));
    EXPECT_FALSE(shown(header.settingsButton()));

    press(button("theme-row"));
    EXPECT_EQ(view().screen(), PanelScreen::theme);
    EXPECT_EQ(header.title(), "Theme");
    press(header.backButton());
    EXPECT_EQ(view().screen(), PanelScreen::settings);

    press(button("support-row"));
    EXPECT_EQ(view().screen(), PanelScreen::support);
    EXPECT_EQ(header.title(), "Support Ostrel");
    press(button("preset-250"));
    press(button("send"));
    EXPECT_EQ(view().screen(), PanelScreen::supportQR);
    EXPECT_EQ(header.title(), "Scan to Pay");
    EXPECT_EQ(view().supportAmount(), 250);
    press(header.backButton());
    EXPECT_EQ(view().screen(), PanelScreen::support);
    EXPECT_EQ(dynamic_cast<SupportAmountView&>(view().body()).amountText(), "100") << "entered afresh";
    press(header.backButton());
    EXPECT_EQ(view().screen(), PanelScreen::settings);

    press(button("feedback-row"));
    EXPECT_EQ(view().screen(), PanelScreen::feedback);
    EXPECT_EQ(header.title(), "Send Feedback");
    press(header.backButton());
    press(header.backButton());
    EXPECT_EQ(view().screen(), PanelScreen::main);
    EXPECT_TRUE(shown(header.settingsButton()));
}

TEST_F(PanelViewTest, KeysFollowTheScreen) {
    open();
    for (const char* keys : {"<Control>q", "<Control>r"})
        EXPECT_FALSE(pressKeys(*window, keys)) << keys << " on the main screen";
    EXPECT_TRUE(pressKeys(*window, "<Control>comma"));
    EXPECT_EQ(view().screen(), PanelScreen::settings);
    EXPECT_FALSE(pressKeys(*window, "<Control>comma"));
    EXPECT_TRUE(pressKeys(*window, "<Control>r"));
    EXPECT_TRUE(pressKeys(*window, "<Control>q"));
    press(button("quit"));
    EXPECT_EQ(app->activated, (std::vector<std::string>{"app.refresh", "app.quit", "app.quit"}));

    press(button("support-row"));
    press(button("send"));
    ASSERT_EQ(view().screen(), PanelScreen::supportQR);
    EXPECT_FALSE(pressKeys(*window, "<Control>q")) << "only the settings screen quits";
    EXPECT_TRUE(pressKeys(*window, "Escape"));
    EXPECT_EQ(view().screen(), PanelScreen::support);
    EXPECT_TRUE(pressKeys(*window, "Escape"));
    EXPECT_TRUE(pressKeys(*window, "Escape"));
    EXPECT_EQ(view().screen(), PanelScreen::main);
    EXPECT_TRUE(window->get_visible());
    EXPECT_TRUE(pressKeys(*window, "Escape")) << "a drop-down closes on Escape";
    EXPECT_FALSE(window->get_visible());
}

TEST_F(PanelViewTest, EveryOpeningShowsMainAndRefreshesTheActiveServices) {
    m->settings.setEnabled({claude, codex});
    open();
    EXPECT_EQ(fetches(claude), 1);
    EXPECT_EQ(fetches(cursor), 0);

    view().setScreen(PanelScreen::theme);
    window->hide();
    settle();
    EXPECT_EQ(view().screen(), PanelScreen::main) << "hiding returns to main";

    window->popup();
    view().setScreen(PanelScreen::settings);
    window->hide();
    view().setScreen(PanelScreen::feedback); // as left by a previous opening
    window->popup();
    settle();
    EXPECT_EQ(view().screen(), PanelScreen::main);
    EXPECT_EQ(fetches(claude), 3);
    EXPECT_EQ(fetches(codex), 3);
    EXPECT_EQ(fetches(cursor), 0);

    window->hide();
    m->fail(codex, ProviderError::rateLimited("codex.test", std::chrono::seconds(240)));
    window->popup();
    settle();
    EXPECT_EQ(fetches(claude), 4);
    EXPECT_EQ(fetches(codex), 4) << "a rate-limited service waits for its time; opening is no Refresh";

    window->close(); // closing hides, it does not destroy
    settle();
    EXPECT_FALSE(window->get_visible());
    EXPECT_FALSE(window->hidByFocusLossJustNow()) << "only a hide on focus loss swallows the next click";
}

TEST_F(PanelViewTest, SelectionFallsBackWithoutRewritingTheStoredChoice) {
    m->settings.setSelectedProvider("codex");
    m->settings.setEnabled({claude, cursor});
    open();
    EXPECT_EQ(view().selected(), claude);
    EXPECT_EQ(shownPanel(), claude);
    EXPECT_EQ(view().mainScreen().tabs().providers(), (std::vector<ProviderID>{claude, cursor}));
    EXPECT_NE(m->settingsFile().find("selectedProvider=codex"), std::string::npos);

    m->settings.setEnabled({claude, cursor, codex});
    drain();
    EXPECT_EQ(shownPanel(), codex) << "the remembered service is back";
    EXPECT_EQ(view().mainScreen().tabs().selected(), codex);

    m->settings.setSelectedProvider("gemini");
    EXPECT_EQ(shownPanel(), claude) << "a name of no service gives the first tab";
}

TEST_F(PanelViewTest, ClickingATabStoresItAndShowsThatService) {
    open();
    press(button("tab-cursor"));
    EXPECT_EQ(shownPanel(), cursor);
    EXPECT_EQ(view().mainScreen().tabs().selected(), cursor);
    EXPECT_NE(m->settingsFile().find("selectedProvider=cursor"), std::string::npos);
}

TEST_F(PanelViewTest, OneServiceHasNoTabsAndNoneHasAMessage) {
    m->settings.setEnabled({cursor});
    open();
    EXPECT_FALSE(shown(view().mainScreen().tabs()));
    EXPECT_EQ(shownPanel(), cursor);

    m->settings.setEnabled({});
    drain();
    EXPECT_EQ(shownPanel(), std::nullopt);
    EXPECT_EQ(view().mainScreen().message(), "All providers are turned off.\nTurn one on in Settings.");
    EXPECT_EQ(view().currentPercentLeft(), std::nullopt);

    view().setScreen(PanelScreen::theme);
    auto& picker = dynamic_cast<ThemePickerView&>(view().body());
    EXPECT_EQ(picker.previewPercent(), 70) << "no current level";
    EXPECT_FALSE(shown(named<Gtk::Button>(picker, "back-to-current")));
}

TEST_F(PanelViewTest, ThemeScreenStartsAtTheShownServicesLevel) {
    open();
    m->succeed(claude, PanelModel::snapshot(m->limit("session", 58)));
    EXPECT_EQ(view().currentPercentLeft(), 42);
    view().setScreen(PanelScreen::settings);
    press(button("theme-row"));
    auto& picker = dynamic_cast<ThemePickerView&>(view().body());
    EXPECT_EQ(picker.previewPercent(), 42);
    EXPECT_TRUE(showsText(picker, "42% left"));
}

TEST_F(PanelViewTest, AServiceWithoutAProviderIsNotSupportedYet) {
    m = std::make_unique<PanelModel>(std::vector{codex});
    m->settings.setSelectedProvider("codex");
    open();
    EXPECT_EQ(view().mainScreen().message(), "Codex isn't supported yet.");
    EXPECT_EQ(shownPanel(), std::nullopt);
    view().setScreen(PanelScreen::settings);
    EXPECT_FALSE(button("log-in-codex").is_sensitive()) << "nothing to log in with";
    EXPECT_TRUE(button("log-in-claude").is_sensitive());
}
