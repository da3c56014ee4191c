#include "fake_notifications.h"
#include "model/usage_notifier.h"
#include "support/loop.h"
#include "support/private_bus.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono_literals;

TEST(UsageNotifier, NotificationsArriveWithTheirTextsAndEachIsNew) {
    test::PrivateBus bus;
    auto connection = bus.connect();
    fake::FakeNotifications service(connection.get());
    ASSERT_TRUE(runLoopUntil([&] { return service.owned(); }, 5s));
    UsageNotifier notifier(connection.get());
    const UsageLimit weekly{"weekly_all", "Weekly Limit", 92.4, std::nullopt};
    notifier.notifyBelow10(ProviderID::claude, weekly);
    notifier.notifyBelow10(ProviderID::claude, weekly);
    notifier.notifyBelow50(ProviderID::codex, UsageLimit{"primary", "5-Hour Session", 57.5, std::nullopt});
    notifier.notifyReset(ProviderID::cursor, UsageLimit{"monthly", "Included usage", 0, std::nullopt});
    notifier.notifyLoginExpired(ProviderID::codex);
    notifier.notifyLoginExpiring(ProviderID::cursor, 1);
    ASSERT_TRUE(runLoopUntil([&] { return service.received().size() == 6; }, 10s));
    std::vector<std::string> summaries;
    for (const auto& n : service.received()) {
        summaries.push_back(n.summary);
        EXPECT_EQ(n.desktopEntry, "app.ostrel.Ostrel") << "grouped under the app";
    }
    EXPECT_EQ(summaries, (std::vector<std::string>{"Claude: 8% left", "Claude: 8% left", "Codex: 43% left",
                                                   "Cursor reset", "Codex logged out",
                                                   "Cursor login expires in 1 day"}));
    EXPECT_NE(service.received()[1].id, service.received()[0].id) << "identical texts are still two";
    EXPECT_EQ(service.capabilityQueries(), 1) << "the set-up is made once per run";
}

TEST(UsageNotifier, NoNotificationServiceIsSilentAndALateOneGetsTheNext) {
    test::PrivateBus bus;
    auto connection = bus.connect();
    UsageNotifier notifier(connection.get());
    notifier.notifyLoginExpired(ProviderID::claude);
    notifier.notifyLoginExpired(ProviderID::cursor);
    test::pump(300ms); // the calls fail on the bus; nothing reaches the caller
    EXPECT_TRUE(notifier.setUpDone());
    fake::FakeNotifications service(connection.get());
    ASSERT_TRUE(runLoopUntil([&] { return service.owned(); }, 5s));
    notifier.notifyLoginExpired(ProviderID::codex);
    ASSERT_TRUE(runLoopUntil([&] { return service.received().size() == 1; }, 5s));
    EXPECT_EQ(service.received()[0].summary, "Codex logged out");
}
