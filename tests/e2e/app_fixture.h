#pragma once
// The whole app, as it runs, against the fake services: the real web engine, the real settings
// file, the tray item and the notifier on a private session bus where a fake notification service
// and a fake tray host listen. Tests drive it from the outside and look at what a user would see.

#include "app/app_core.h"
#include "fake_chatgpt.h"
#include "fake_claude.h"
#include "fake_cursor.h"
#include "fake_notifications.h"
#include "fake_tray_watcher.h"
#include "support/display.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "support/test_env.h"
#include "tray/tray_item.h"
#include "tray/tray_presenter.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace ostrel::test {

class AppFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        g_setenv("GTK_A11Y", "none", TRUE);
        ASSERT_TRUE(startGtk()) << "no display";
        bus_ = std::make_unique<PrivateBus>();
        appBus_ = bus_->connect();
        hostBus_ = bus_->connect();
        ASSERT_TRUE(appBus_ && hostBus_);
        notifications_ = std::make_unique<fake::FakeNotifications>(hostBus_.get());
        watcher_ = std::make_unique<fake::FakeTrayWatcher>(hostBus_.get());
        ASSERT_TRUE(runLoopUntil([&] { return notifications_->owned() && watcher_->owned(); },
                                 std::chrono::seconds(5)));
    }
    void TearDown() override {
        // A refresh a test started in passing (a settings change starts one) must end before the web
        // sessions it runs in go away.
        if (core_) runLoopUntil([&] { return !core_->model().isRefreshing(); }, std::chrono::seconds(60));
        presenter_.reset();
        tray_.reset();
        core_.reset();
        drain(); // the rest goes in the reverse of its order in the class
    }

    // Builds the app; `clock` defaults to the wall clock.
    void startApp(Clock* clock = nullptr) {
        AppCore::Options options;
        options.services.claude = *ServiceEndpoint::parse(claude_.origin());
        options.services.cursor = *ServiceEndpoint::parse(cursor_.origin());
        options.services.chatgpt = *ServiceEndpoint::parse(chatgpt_.origin());
        options.services.chatgptAccountDomain = chatgpt_.accountHost();
        options.settingsPath = settingsPath();
        options.webDataDir = webDataDir();
        options.webCacheDir = webCacheDir();
        options.historyPath = dir_.file("state/ostrel/history.sqlite");
        options.bus = appBus_.get();
        core_ = std::make_unique<AppCore>(options, clock ? *clock : systemClock_);
        tray_ = std::make_unique<TrayItem>(appBus_.get(), nullptr);
        presenter_ = std::make_unique<TrayPresenter>(core_->model(), *tray_);
    }
    // Puts each demo account's session cookie into the web engine's store, as a login would.
    void logInEverywhere() {
        const auto wait = std::chrono::seconds(10);
        WebContext& web = core_->web();
        runSync(web.addCookie(fake::FakeClaude::cookieName, claude_.issueSession(), claude_.host()), wait);
        runSync(web.addCookie(fake::FakeCursor::cookieName, cursor_.issueSession(), cursor_.host()), wait);
        runSync(web.addCookie(fake::FakeChatGPT::cookieName, chatgpt_.issueSession(), chatgpt_.host()), wait);
    }
    // Refreshes a service as the poll would and waits for it.
    void refresh(ProviderID id) { runSync(core_->model().refresh(id), std::chrono::seconds(120)); }
    // The tray item's title (the spoken text) as the host reads it.
    std::string trayTitle() {
        return runSync(trayItemProperty(hostBus_.get(), tray_->busName(), "Title"), std::chrono::seconds(10));
    }

    UsageModel& model() { return core_->model(); }
    std::string settingsPath() const { return dir_.file("config/ostrel/settings.ini"); }
    std::string webDataDir() const { return dir_.file("data/ostrel/web"); }
    std::string webCacheDir() const { return dir_.file("cache/ostrel/web"); }

    LogLines log_; // everything the app logs
    TempDir dir_;
    std::unique_ptr<PrivateBus> bus_;
    GObjectPtr<GDBusConnection> appBus_;
    GObjectPtr<GDBusConnection> hostBus_;
    std::unique_ptr<fake::FakeNotifications> notifications_;
    std::unique_ptr<fake::FakeTrayWatcher> watcher_;
    fake::FakeClaude claude_;
    fake::FakeCursor cursor_;
    fake::FakeChatGPT chatgpt_;
    SystemClock systemClock_;
    std::unique_ptr<AppCore> core_;
    std::unique_ptr<TrayItem> tray_;
    std::unique_ptr<TrayPresenter> presenter_;
};

} // namespace ostrel::test
