// The panel's screens, header, shortcuts, service choice and tab row, the theme picker and the
// settings screen, driven through the real window.

#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/main_screen.h"
#include "ui/panel/panel_window.h"
#include "ui/panel/provider_tabs.h"
#include "ui/panel/theme_picker_view.h"
#include "ui/support/support_amount_view.h"

#include <giomm/simpleactiongroup.h>
#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <gtkmm/scale.h>
#include <gtkmm/switch.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using enum ProviderID;

namespace {

class PanelViewTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(startGtk()) << "no display"; }

    void open() {
        for (auto& [id, p] : m->scripted) {
            p->then(PanelModel::snapshot(m->limit("session", 30)));
            p->fetches = 0; // count only what the panel asks for
        }
        window = std::make_unique<PanelWindow>(*m->model, "");
        auto app = Gio::SimpleActionGroup::create();
        for (const char* name : {"refresh", "quit"})
            app->add_action(name, [this, name] { activated.push_back(std::string("app.") + name); });
        window->insert_action_group("app", app);
        window->setHidesOnFocusLoss(false);
        window->popup();
        settle();
    }
    PanelView& view() { return window->view(); }
    Gtk::Button& button(const char* name) { return named<Gtk::Button>(*window, name); }
    int fetches(ProviderID id) { return m->provider(id).fetches; }
    std::optional<ProviderID> shownPanel() {
        ProviderPanel* panel = view().mainScreen().providerPanel();
        return panel ? std::optional(panel->id()) : std::nullopt;
    }
    ThemePickerView& picker() { return dynamic_cast<ThemePickerView&>(view().body()); }
    Gtk::Scale& slider() { return named<Gtk::Scale>(picker(), "preview-slider"); }
    std::string previewText() { return named<Gtk::Label>(picker(), "preview-value").get_text(); }
    bool offersReturn() { return shown(named<Gtk::Button>(picker(), "back-to-current")); }
    static bool markedSelected(Gtk::Widget& w) { // an unset state is a mismatch too
        return !GCharPtr(
            gtk_test_accessible_check_state(GTK_ACCESSIBLE(w.gobj()), GTK_ACCESSIBLE_STATE_SELECTED, TRUE));
    }

    std::unique_ptr<PanelModel> m = std::make_unique<PanelModel>();
    std::vector<std::string> activated; // the application's actions the panel asked for
    std::unique_ptr<PanelWindow> window;
};

class SettingsViewTest : public PanelViewTest {
  protected:
    void SetUp() override {
        PanelViewTest::SetUp();
        open();
        view().setScreen(PanelScreen::settings);
    }
    Gtk::Widget& settingsPage() { return view().body(); }
    Gtk::Widget& row(const std::string& name) { return *findNamed(settingsPage(), name); }
    Gtk::Switch& toggle(const std::string& row) { return *all<Gtk::Switch>(this->row(row)).front(); }
    // Flips a switch the way a click does: not while it is disabled.
    void flip(const std::string& rowName) {
        Gtk::Switch& s = toggle(rowName);
        if (s.is_sensitive() && shown(s)) s.set_active(!s.get_active());
        drain();
    }
};

} // namespace

TEST_F(PanelViewTest, ScreensFollowButtonsKeysAndTheBackTable) {
    open();
    PanelHeader& header = view().header();
    EXPECT_TRUE(showsText(header, "Ostrel"));
    EXPECT_FALSE(shown(header.backButton()));
    for (const char* keys : {"<Control>q", "<Control>r"})
        EXPECT_FALSE(pressKeys(*window, keys)) << keys << " on the main screen";
    EXPECT_TRUE(pressKeys(*window, "<Control>comma"));
    EXPECT_EQ(shownTexts(header), std::vector<std::string>{"Settings"});
    EXPECT_FALSE(shown(header.settingsButton()));
    EXPECT_FALSE(pressKeys(*window, "<Control>comma"));
    EXPECT_TRUE(pressKeys(*window, "<Control>r"));
    EXPECT_TRUE(pressKeys(*window, "<Control>q"));
    EXPECT_EQ(activated, (std::vector<std::string>{"app.refresh", "app.quit"}));

    for (auto [row, screen] : {std::pair{"theme-row", PanelScreen::theme},
                               {"support-row", PanelScreen::support},
                               {"feedback-row", PanelScreen::feedback}}) {
        press(button(row));
        EXPECT_EQ(view().screen(), screen) << row;
        press(header.backButton());
        EXPECT_EQ(view().screen(), PanelScreen::settings) << row;
    }
    press(button("support-row"));
    press(named<Gtk::Button>(view().body(), "preset-250"));
    press(named<Gtk::Button>(view().body(), "send"));
    EXPECT_EQ(view().screen(), PanelScreen::supportQR);
    EXPECT_EQ(view().supportAmount(), 250);
    EXPECT_TRUE(pressKeys(*window, "Escape"));
    EXPECT_EQ(view().screen(), PanelScreen::support);
    EXPECT_EQ(dynamic_cast<SupportAmountView&>(view().body()).amountText(), "100") << "entered afresh";
    EXPECT_TRUE(pressKeys(*window, "Escape"));
    EXPECT_TRUE(pressKeys(*window, "Escape"));
    EXPECT_EQ(view().screen(), PanelScreen::main);
    EXPECT_TRUE(pressKeys(*window, "Escape")) << "a drop-down closes on Escape";
    EXPECT_FALSE(window->get_visible());
}

TEST_F(PanelViewTest, EveryOpeningShowsMainAndRefreshesTheActiveServices) {
    m->settings.setEnabled({claude, codex});
    open();
    view().setScreen(PanelScreen::theme);
    window->hide();
    settle();
    EXPECT_EQ(view().screen(), PanelScreen::main) << "hiding returns to main";
    view().setScreen(PanelScreen::feedback); // as left by a previous opening
    window->popup();
    settle();
    EXPECT_EQ(view().screen(), PanelScreen::main);
    EXPECT_EQ((std::array{fetches(claude), fetches(codex), fetches(cursor)}), (std::array{2, 2, 0}));

    window->hide();
    m->fail(codex, ProviderError::rateLimited("codex.test", std::chrono::seconds(240)));
    window->popup();
    settle();
    EXPECT_EQ(fetches(claude), 3);
    EXPECT_EQ(fetches(codex), 3) << "a rate-limited service waits for its time; opening is no Refresh";

    window->close(); // closing hides, it does not destroy
    settle();
    EXPECT_FALSE(window->get_visible());
    EXPECT_FALSE(window->hidByFocusLossJustNow()) << "only a hide on focus loss swallows the next click";
}

TEST_F(PanelViewTest, SelectionFallsBackWithoutRewritingTheStoredChoiceAndATabClickStoresIt) {
    m->settings.setSelectedProvider("codex");
    m->settings.setEnabled({claude, cursor});
    open();
    EXPECT_EQ(shownPanel(), claude);
    EXPECT_EQ(view().mainScreen().tabs().providers(), (std::vector<ProviderID>{claude, cursor}));
    EXPECT_EQ(m->settings.selectedProvider(), "codex");

    m->settings.setEnabled({claude, cursor, codex});
    drain();
    EXPECT_EQ(shownPanel(), codex) << "the remembered service is back";
    EXPECT_EQ(view().mainScreen().tabs().selected(), codex);
    m->settings.setSelectedProvider("gemini");
    EXPECT_EQ(shownPanel(), claude) << "a name of no service gives the first tab";

    press(button("tab-cursor"));
    EXPECT_EQ(shownPanel(), cursor);
    EXPECT_EQ(m->settings.selectedProvider(), "cursor");
}

TEST_F(PanelViewTest, OneServiceHasNoTabsAndNoneOrOneWithoutAProviderHasAMessage) {
    m->settings.setEnabled({cursor});
    open();
    EXPECT_FALSE(shown(view().mainScreen().tabs()));
    EXPECT_EQ(shownPanel(), cursor);

    m->settings.setEnabled({});
    drain();
    EXPECT_EQ(shownPanel(), std::nullopt);
    EXPECT_EQ(view().mainScreen().message(), "All providers are turned off.\nTurn one on in Settings.");
    view().setScreen(PanelScreen::theme);
    EXPECT_EQ(slider().get_value(), 70) << "no current level";
    slider().set_value(12);
    EXPECT_FALSE(offersReturn()) << "nothing to return to";

    window.reset();
    m = std::make_unique<PanelModel>(std::vector{codex});
    m->settings.setSelectedProvider("codex");
    open();
    EXPECT_EQ(view().mainScreen().message(), "Codex isn't supported yet.");
    EXPECT_EQ(shownPanel(), std::nullopt);
    view().setScreen(PanelScreen::settings);
    EXPECT_FALSE(button("log-in-codex").is_sensitive()) << "nothing to log in with";
    EXPECT_TRUE(button("log-in-claude").is_sensitive());
}

TEST_F(PanelViewTest, ThemeScreenStartsAtTheShownLevelOffersAReturnAndChoosesATile) {
    open();
    m->succeed(claude, PanelModel::snapshot(m->limit("session", 58)));
    view().setScreen(PanelScreen::theme);
    EXPECT_EQ(slider().get_value(), 42);
    EXPECT_EQ(previewText(), "42% left");
    slider().set_value(42.5);
    EXPECT_FALSE(offersReturn());
    slider().set_value(43);
    EXPECT_TRUE(offersReturn());
    slider().set_value(41);
    EXPECT_TRUE(offersReturn()) << "a point below counts too";
    press(named<Gtk::Button>(picker(), "back-to-current"));
    EXPECT_EQ(picker().previewPercent(), 42);
    EXPECT_FALSE(offersReturn());

    view().setScreen(PanelScreen::settings);
    m->succeed(claude, PanelModel::snapshot(m->limit("session", 10)));
    view().setScreen(PanelScreen::theme);
    EXPECT_EQ(slider().get_value(), 90) << "afresh on each visit";

    // The miniatures follow the preview in its unrounded band; a tile is chosen at once.
    slider().set_value(49.5);
    EXPECT_EQ(previewText(), "50% left");
    for (GaugeTheme theme : allGaugeThemes) {
        GaugeView& gauge = picker().tile(theme).gauge();
        EXPECT_DOUBLE_EQ(gauge.level(), 0.495);
        EXPECT_EQ(gauge.state(), UsageLevel::medium) << displayName(theme);
    }
    EXPECT_TRUE(picker().tile(GaugeTheme::glass).selected());
    for (int twice = 0; twice < 2; ++twice) { // choosing it again changes nothing
        press(picker().tile(GaugeTheme::meter));
        EXPECT_EQ(m->settings.theme(), GaugeTheme::meter);
        for (GaugeTheme theme : allGaugeThemes) {
            EXPECT_EQ(picker().tile(theme).selected(), theme == GaugeTheme::meter) << displayName(theme);
            EXPECT_EQ(picker().tile(theme).showsCheckmark(), theme == GaugeTheme::meter)
                << displayName(theme);
        }
    }
}

// The selected state as assistive technology sees it, and the highlight sliding on a spring from the
// old tab to the new one, or jumping there when the desktop turns motion off.
TEST_F(PanelViewTest, OnlyTheSelectedTabIsMarkedAndTheHighlightSlidesUnlessMotionIsOff) {
    setAnimations(true);
    open();
    ProviderTabs& tabs = view().mainScreen().tabs();
    auto tabX = [&](ProviderID id) {
        double x = 0, y = 0;
        tabs.tab(id)->translate_coordinates(tabs, 0, 0, x, y);
        return x;
    };
    for (ProviderID id : allProviders)
        EXPECT_EQ(markedSelected(*tabs.tab(id)), id == claude) << displayName(id);
    const double claudeX = tabX(claude), codexX = tabX(codex);
    EXPECT_DOUBLE_EQ(tabs.highlightNow().x, claudeX);

    press(*tabs.tab(codex));
    EXPECT_TRUE(markedSelected(*tabs.tab(codex)));
    EXPECT_FALSE(markedSelected(*tabs.tab(claude)));
    EXPECT_TRUE(tabs.animating());
    // Part-way: somewhere between the two tabs, not yet there.
    ASSERT_TRUE(runLoopUntil([&] { return tabs.highlightNow().x > claudeX + 5; }, 1s));
    EXPECT_LT(tabs.highlightNow().x, codexX - 1);
    ASSERT_TRUE(runLoopUntil([&] { return !tabs.animating(); }, 2s));
    EXPECT_DOUBLE_EQ(tabs.highlightNow().x, codexX);
    EXPECT_DOUBLE_EQ(tabs.highlightNow().width, tabs.tab(codex)->get_width());

    setAnimations(false); // the desktop asks for no motion: it jumps
    press(*tabs.tab(cursor));
    EXPECT_FALSE(tabs.animating());
    EXPECT_DOUBLE_EQ(tabs.highlightNow().x, tabX(cursor));
    setAnimations(true);
}

// The rows that open other screens are followed in ScreensFollowButtonsKeysAndTheBackTable.
TEST_F(SettingsViewTest, ShowsEveryServiceAndTheThemeAndItsSwitchesWriteTheSettings) {
    for (ProviderID id : allProviders)
        EXPECT_TRUE(showsText(settingsPage(), displayName(id))) << "every service has its heading";
    EXPECT_TRUE(showsText(settingsPage(), "Glass")) << "the chosen theme";
    m->settings.setTheme(GaugeTheme::plant);
    EXPECT_TRUE(showsText(settingsPage(), "Plant"));
    press(button("refresh"));
    press(button("quit"));
    EXPECT_EQ(activated, (std::vector<std::string>{"app.refresh", "app.quit"}));

    flip("reset-time-codex");
    EXPECT_TRUE(m->settings.showsResetTime(codex));
    ASSERT_TRUE(toggle("reset-time-claude").get_active());
    flip("track-claude");
    EXPECT_FALSE(m->settings.isEnabled(claude));
    EXPECT_FALSE(toggle("reset-time-claude").get_active());
    EXPECT_FALSE(row("reset-time-claude").is_sensitive());
    EXPECT_TRUE(m->settings.showsResetTime(claude)) << "reading off does not write off";

    flip("track-claude");
    EXPECT_TRUE(toggle("reset-time-claude").get_active());
    EXPECT_TRUE(row("reset-time-claude").is_sensitive());
}

TEST_F(SettingsViewTest, AccountControlsFollowTheLogin) {
    Gtk::Button& logIn = button("log-in-cursor");
    Gtk::Widget& account = row("account-cursor");
    // The login cookie's expiry shows under the service while it is logged in.
    m->provider(cursor).web_.expiry = m->clock.now() + std::chrono::hours(5 * 24 + 3);
    m->refresh(cursor);
    EXPECT_FALSE(shown(logIn));
    EXPECT_TRUE(shown(account));
    EXPECT_TRUE(showsText(settingsPage(), "Logged in · expires in 5 days"));
    flip("track-cursor");
    EXPECT_FALSE(account.is_sensitive()) << "not while the service is off";
    flip("track-cursor");

    // Log out asks first: Cancel keeps the login, the answer removes it.
    press(button("log-out-cursor"));
    EXPECT_TRUE(shown(row("ask-log-out-cursor")));
    press(button("cancel-log-out-cursor"));
    EXPECT_FALSE(shown(row("ask-log-out-cursor")));
    drain();
    EXPECT_EQ(m->provider(cursor).web_.logOuts, 0);
    press(button("log-out-cursor"));
    press(button("confirm-log-out-cursor"));
    drain();
    EXPECT_EQ(m->provider(cursor).web_.logOuts, 1);
    EXPECT_TRUE(shown(logIn));
    EXPECT_FALSE(shown(account));
    press(logIn);
    EXPECT_EQ(m->login.shown, std::vector<ProviderID>{cursor});

    m->provider(cursor).web_.expiry.reset(); // a session cookie: nothing to say
    m->refresh(cursor);
    EXPECT_FALSE(shown(row("login-expiry-cursor")));
    press(button("switch-account-cursor"));
    EXPECT_EQ(m->provider(cursor).web_.logOuts, 2);
    EXPECT_EQ(m->login.shown, (std::vector<ProviderID>{cursor, cursor}));
}

TEST_F(SettingsViewTest, StartAtLoginFollowsTheAutostartEntry) {
    const std::string entry = m->dir.file("autostart/app.ostrel.Ostrel.desktop");
    EXPECT_FALSE(toggle("start-at-login").get_active()) << "off by default";
    flip("start-at-login");
    EXPECT_NE(readFile(entry).find("X-GNOME-Autostart-enabled=true"), std::string::npos);

    // A folder where the entry was: shown again, the switch reads it as off (else the flip below would
    // turn it off), and a change that cannot be made says why and leaves the switch as the file has it.
    g_remove(entry.c_str());
    g_mkdir_with_parents((entry + "/keep").c_str(), 0700);
    view().setScreen(PanelScreen::main);
    view().setScreen(PanelScreen::settings);
    drain();
    flip("start-at-login");
    EXPECT_FALSE(toggle("start-at-login").get_active());
    auto& problem = named<Gtk::Label>(settingsPage(), "start-at-login-problem");
    EXPECT_TRUE(shown(problem));
    EXPECT_TRUE(problem.get_text().find("Could not turn on start at login") == 0) << problem.get_text();
}
