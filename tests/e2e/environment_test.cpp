#include "app_fixture.h"
#include "support/log_lines.h"
#include "support/loop.h"

#include <glib/gstdio.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

class Environment : public AppFixture {
  protected:
    void showNumbers() {
        const auto now = std::chrono::system_clock::now();
        claude_.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(30, now + 2h, 10, now + 72h)));
        refresh(ProviderID::claude);
    }
};

TEST_F(Environment, ACorruptSettingsFileGivesDefaultsAndIsKept) {
    g_mkdir_with_parents(dir_.file("config/ostrel").c_str(), 0700);
    const std::string junk = "[Ostrel\ngaugeTheme=candle\n\x01\x02";
    writeFile(settingsPath(), junk);
    startApp();
    logInEverywhere();
    EXPECT_NE(log_.find("could not be read"), std::string::npos) << log_;
    EXPECT_EQ(core_->settings().theme(), GaugeTheme::glass);
    showNumbers();
    EXPECT_TRUE(model().isLoggedIn(ProviderID::claude));
    EXPECT_EQ(readFile(settingsPath()), junk) << "not overwritten until the user changes something";
    ostrel::test::LogCapture capture;
    core_->settings().setTheme(GaugeTheme::meter);
    capture.finish();
    EXPECT_EQ(readFile(settingsPath() + ".bad"), junk);
    EXPECT_EQ(AppSettings(settingsPath()).theme(), GaugeTheme::meter);
}

TEST_F(Environment, ASettingsFolderThatCannotBeWrittenLeavesTheAppWorking) {
    writeFile(dir_.file("config"), "a file where the folder should be");
    startApp();
    logInEverywhere();
    ostrel::test::LogCapture capture2;
    core_->settings().setProviderEnabled(ProviderID::cursor, false);
    const std::string said = capture2.finish();
    EXPECT_NE(said.find("not saved"), std::string::npos) << said;
    showNumbers();
    EXPECT_TRUE(model().isLoggedIn(ProviderID::claude));
    EXPECT_EQ(model().activeProviders(), (std::vector<ProviderID>{ProviderID::claude, ProviderID::codex}));
}

TEST_F(Environment, NoNotificationServiceIsNoProblem) {
    notifications_.reset();
    startApp();
    logInEverywhere();
    showNumbers();
    claude_.expireSessions();
    refresh(ProviderID::claude); // would post "logged out"
    test::pump(300ms);
    EXPECT_EQ(model().state(ProviderID::claude).status, "Not logged in. Click Log in to Claude.");
    claude_.setUsageAnswer(FakeAnswer::json("{}", 500));
    refresh(ProviderID::cursor);
    EXPECT_TRUE(model().isLoggedIn(ProviderID::cursor)) << "the app goes on";
}

TEST_F(Environment, NoTrayHostThenOneAppears) {
    watcher_.reset();
    test::pump(100ms);
    startApp();
    ostrel::test::LogCapture capture3;
    test::pump(300ms); // the bus says so asynchronously
    const std::string said = capture3.finish();
    EXPECT_NE((log_ + said).find("No system tray found"), std::string::npos) << said;
    EXPECT_FALSE(tray_->registered());
    logInEverywhere();
    showNumbers();
    watcher_ = std::make_unique<fake::FakeTrayWatcher>(hostBus_.get());
    ASSERT_TRUE(runLoopUntil([&] { return tray_->registered(); }, 5s));
    EXPECT_EQ(trayTitle(), "Claude 70% left, resets in 2h 0m");
}
