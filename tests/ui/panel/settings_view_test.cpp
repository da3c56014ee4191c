// The settings screen: switches that write the settings file, the reset-time switch of a service
// that is off, account controls that follow the login, and the actions its rows and buttons name.

#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/settings_view.h"

#include <algorithm>
#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <gtkmm/switch.h>

using namespace ostrel;
using namespace ostrel::test;
using enum ProviderID;

namespace {

class SettingsViewTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        for (auto& [id, p] : m.scripted)
            p->then(PanelModel::snapshot(m.limit("session", 10)));
        view = std::make_unique<SettingsView>(*m.model);
        host = std::make_unique<Host>(*view);
        win = std::make_unique<RecordedActions>(host->window(), "win",
                                                std::vector<std::string>{"theme", "support", "feedback"});
        app = std::make_unique<RecordedActions>(host->window(), "app",
                                                std::vector<std::string>{"refresh", "quit"});
    }
    void TearDown() override {
        host.reset();
        view.reset();
    }

    Gtk::Widget& row(const std::string& name) { return *findNamed(*view, name); }
    Gtk::Switch& toggle(const std::string& row) { return *all<Gtk::Switch>(*findNamed(*view, row)).front(); }
    // Flips a switch the way a click does: not while it is disabled.
    void flip(const std::string& rowName) {
        Gtk::Switch& s = toggle(rowName);
        if (s.is_sensitive() && shown(s)) s.set_active(!s.get_active());
        drain();
    }
    Gtk::Button& button(const std::string& name) { return named<Gtk::Button>(*view, name); }
    bool fileHas(const std::string& line) { return m.settingsFile().find(line + "\n") != std::string::npos; }

    PanelModel m;
    std::unique_ptr<SettingsView> view;
    std::unique_ptr<Host> host;
    std::unique_ptr<RecordedActions> win; // the panel's screens
    std::unique_ptr<RecordedActions> app;
};

} // namespace

TEST_F(SettingsViewTest, ShowsEveryServiceInOrderWithItsControls) {
    // Each service in tab order, logged out: its log-in button, not its account controls.
    const auto texts = shownTexts(*view);
    std::vector<std::ptrdiff_t> at;
    for (ProviderID id : allProviders) {
        const std::string raw(rawValue(id));
        EXPECT_TRUE(shown(button("log-in-" + raw))) << raw;
        EXPECT_FALSE(shown(row("account-" + raw))) << raw;
        at.push_back(std::find(texts.begin(), texts.end(), std::string(displayName(id))) - texts.begin());
    }
    EXPECT_TRUE(std::is_sorted(at.begin(), at.end()));
    EXPECT_LT(at.back(), std::ssize(texts)) << "every service has its heading";
    EXPECT_TRUE(showsText(*view, "Glass")) << "the chosen theme";

    m.settings.setTheme(GaugeTheme::plant);
    EXPECT_TRUE(showsText(*view, "Plant"));
    press(button("theme-row"));
    press(button("support-row"));
    press(button("feedback-row"));
    EXPECT_EQ(win->activated, (std::vector<std::string>{"win.theme", "win.support", "win.feedback"}));
    press(button("refresh"));
    press(button("quit"));
    EXPECT_EQ(app->activated, (std::vector<std::string>{"app.refresh", "app.quit"}));
}

TEST_F(SettingsViewTest, TrackSwitchesWriteTheSettingsFile) {
    EXPECT_TRUE(toggle("track-cursor").get_active());
    flip("track-cursor");
    EXPECT_FALSE(m.settings.isEnabled(cursor));
    EXPECT_TRUE(fileHas("enabledProviders=claude;codex;"));
    flip("track-cursor");
    EXPECT_TRUE(fileHas("enabledProviders=claude;cursor;codex;"));

    flip("reset-time-codex");
    EXPECT_TRUE(fileHas("resetTimeProviders=claude;codex;"));
}

TEST_F(SettingsViewTest, ResetTimeOfAServiceThatIsOffReadsOffButKeepsTheChoice) {
    ASSERT_TRUE(toggle("reset-time-claude").get_active());
    flip("track-claude");
    Gtk::Widget& resetRow = row("reset-time-claude");
    EXPECT_FALSE(toggle("reset-time-claude").get_active());
    EXPECT_FALSE(resetRow.is_sensitive());
    EXPECT_TRUE(m.settings.showsResetTime(claude)) << "reading off does not write off";

    flip("reset-time-claude");
    EXPECT_TRUE(m.settings.showsResetTime(claude)) << "a disabled switch ignores clicks";

    flip("track-claude");
    EXPECT_TRUE(toggle("reset-time-claude").get_active());
    EXPECT_TRUE(resetRow.is_sensitive());
}

TEST_F(SettingsViewTest, AccountControlsFollowTheLogin) {
    Gtk::Button& logIn = button("log-in-cursor");
    Gtk::Widget& account = row("account-cursor");
    EXPECT_TRUE(shown(logIn));
    EXPECT_FALSE(shown(account));
    press(logIn);
    EXPECT_EQ(m.login.shown, std::vector<ProviderID>{cursor});

    flip("track-cursor");
    EXPECT_FALSE(logIn.is_sensitive()) << "not while the service is off";
    flip("track-cursor");

    // The login cookie's expiry shows under the service while it is logged in.
    m.provider(cursor).web_.expiry = m.clock.now() + std::chrono::hours(5 * 24 + 3);
    m.refresh(cursor);
    EXPECT_FALSE(shown(logIn));
    EXPECT_TRUE(shown(account));
    EXPECT_EQ(named<Gtk::Label>(*view, "login-expiry-cursor").get_text(), "Logged in · expires in 5 days");
    EXPECT_TRUE(shown(row("login-expiry-cursor")));
    EXPECT_TRUE(account.is_sensitive());
    flip("track-cursor");
    EXPECT_FALSE(account.is_sensitive());
    flip("track-cursor");

    press(button("log-out-cursor"));
    EXPECT_EQ(m.provider(cursor).web_.logOuts, 1);
    EXPECT_TRUE(shown(logIn));
    EXPECT_FALSE(shown(account));
    EXPECT_FALSE(shown(row("login-expiry-cursor")));

    // A session cookie without an expiry says nothing.
    m.provider(cursor).web_.expiry.reset();

    m.refresh(cursor);
    EXPECT_FALSE(shown(row("login-expiry-cursor")));
    press(button("switch-account-cursor"));
    EXPECT_EQ(m.provider(cursor).web_.logOuts, 2);
    EXPECT_EQ(m.login.shown, (std::vector<ProviderID>{cursor, cursor}));
}

TEST_F(SettingsViewTest, StartAtLoginFollowsTheAutostartEntry) {
    // The test's settings live in a temporary folder, so its autostart entry does too.
    const std::string entry = m.dir.file("autostart/app.ostrel.Ostrel.desktop");
    auto showAgain = [this] {
        view->set_visible(false);
        view->set_visible(true);
        drain();
    };
    EXPECT_FALSE(toggle("start-at-login").get_active()) << "off by default";
    flip("start-at-login");
    EXPECT_NE(readFile(entry).find("X-GNOME-Autostart-enabled=true"), std::string::npos);

    // Turned off by another program: the screen shows it the next time it is shown.
    writeFile(entry, "[Desktop Entry]\nType=Application\nName=Ostrel\nExec=ostrel\nHidden=true\n");
    showAgain();
    EXPECT_FALSE(toggle("start-at-login").get_active());

    // A change that cannot be made says why and leaves the switch as the file has it.
    g_remove(entry.c_str());
    g_mkdir_with_parents((entry + "/keep").c_str(), 0700);
    showAgain();
    flip("start-at-login");
    EXPECT_FALSE(toggle("start-at-login").get_active());
    auto& problem = named<Gtk::Label>(*view, "start-at-login-problem");
    EXPECT_TRUE(shown(problem));
    EXPECT_TRUE(problem.get_text().find("Could not turn on start at login") == 0) << problem.get_text();
}
