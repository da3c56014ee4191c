#include "fake_notifications.h"
#include "model/usage_notifier.h"
#include "support/loop.h"
#include "support/private_bus.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

// A private session bus for the test, torn down with it.
class PrivateBus : public ::testing::Test {
  protected:
    void SetUp() override {
        connection_ = bus_.connect();
        ASSERT_TRUE(connection_);
    }
    void TearDown() override { connection_.reset(); }
    test::PrivateBus bus_;
    GObjectPtr<GDBusConnection> connection_;
};

} // namespace

TEST_F(PrivateBus, NotificationsArriveWithTheirTextsAndEachIsNew) {
    fake::FakeNotifications service(connection_.get());
    ASSERT_TRUE(runLoopUntil([&] { return service.owned(); }, 5s));
    UsageNotifier notifier(connection_.get());
    const UsageLimit weekly{"weekly_all", "Weekly Limit", 92.4, std::nullopt};
    notifier.notifyBelow10(ProviderID::claude, weekly);
    notifier.notifyBelow10(ProviderID::claude, weekly);
    notifier.notifyBelow50(ProviderID::codex, UsageLimit{"primary", "5-Hour Session", 57.5, std::nullopt});
    notifier.notifyReset(ProviderID::cursor, UsageLimit{"monthly", "Included usage", 0, std::nullopt});
    notifier.notifyLoginExpired(ProviderID::codex);
    ASSERT_TRUE(runLoopUntil([&] { return service.received().size() == 5; }, 10s));
    const auto& got = service.received();
    EXPECT_EQ(got[0].summary, "Claude: 8% left");
    EXPECT_EQ(got[0].body, "Weekly Limit is almost gone.");
    EXPECT_EQ(got[1].summary, got[0].summary);
    EXPECT_NE(got[1].id, got[0].id) << "identical texts are still two notifications";
    EXPECT_EQ(got[2].summary, "Codex: 43% left");
    EXPECT_EQ(got[2].body, "5-Hour Session has dropped below 50%.");
    EXPECT_EQ(got[3].summary, "Cursor reset");
    EXPECT_EQ(got[3].body, "Included usage is back to 100%.");
    EXPECT_EQ(got[4].summary, "Codex logged out");
    EXPECT_EQ(got[4].body, "Ostrel stopped tracking usage. Log in again to resume.");
    for (const auto& n : got) {
        EXPECT_EQ(n.appName, "Ostrel");
        EXPECT_EQ(n.replacesId, 0u);
        EXPECT_FALSE(n.soundName.empty());
        EXPECT_EQ(n.desktopEntry, "app.ostrel.Ostrel") << "grouped under the app";
        EXPECT_EQ(n.appIcon, "app.ostrel.Ostrel");
    }
    EXPECT_EQ(service.capabilityQueries(), 1) << "the set-up is made once per run";
}

TEST_F(PrivateBus, NoNotificationServiceIsSilent) {
    UsageNotifier notifier(connection_.get());
    notifier.notifyLoginExpired(ProviderID::claude);
    notifier.notifyLoginExpired(ProviderID::cursor);
    test::pump(300ms); // the calls fail on the bus; nothing reaches the caller
    EXPECT_TRUE(notifier.setUpDone());
    // A service that appears later gets the next ones.
    fake::FakeNotifications service(connection_.get());
    ASSERT_TRUE(runLoopUntil([&] { return service.owned(); }, 5s));
    notifier.notifyLoginExpired(ProviderID::codex);
    ASSERT_TRUE(runLoopUntil([&] { return service.received().size() == 1; }, 5s));
    EXPECT_EQ(service.received()[0].summary, "Codex logged out");
}
