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
    void SetUp() override;
    void TearDown() override;

    // Builds the app; `clock` defaults to the wall clock.
    void startApp(Clock* clock = nullptr);
    // Puts each demo account's session cookie into the web engine's store, as a login would.
    void logInEverywhere();
    // Refreshes a service as the poll would and waits for it.
    void refresh(ProviderID id) { runSync(core_->model().refresh(id), std::chrono::seconds(120)); }
    // The tray item's title (the spoken text) as the host reads it.
    std::string trayTitle();
    bool hasCookie(ProviderID id, const std::string& name);

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
