#include "fake_notifications.h"
#include "model/usage_notifier.h"
#include "support/loop.h"
#include "support/private_bus.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono_literals;

TEST(UsageNotifier, NotificationsArriveWithTheirTextsAndReplaceTheirKind) {
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
    // A service's usage notice replaces the one before it; other services and kinds start their own.
    std::vector<unsigned> replaces;
    for (const auto& n : service.received())
        replaces.push_back(n.replacesId);
    EXPECT_EQ(replaces, (std::vector<unsigned>{0, service.received()[0].id, 0, 0, 0, 0}));
    // Every notice opens its service's tab; the login ones also offer to log in.
    using Actions = std::vector<std::string>;
    EXPECT_EQ(service.received()[2].actions, (Actions{"default", "Show usage"}));
    EXPECT_EQ(service.received()[4].actions, (Actions{"default", "Show usage", "log-in", "Log in"}));
    EXPECT_EQ(service.received()[5].actions, (Actions{"default", "Show usage", "log-in", "Log in"}));
    EXPECT_EQ(service.capabilityQueries(), 1) << "the set-up is made once per run";
}

TEST(UsageNotifier, AClickOnANoticeOrItsButtonReachesTheApp) {
    test::PrivateBus bus;
    auto desktop = bus.connect(), app = bus.connect();
    fake::FakeNotifications service(desktop.get());
    ASSERT_TRUE(runLoopUntil([&] { return service.owned(); }, 5s));
    UsageNotifier notifier(app.get());
    std::vector<std::pair<ProviderID, UsageNotifier::Action>> heard;
    notifier.setActionHandler([&](ProviderID id, UsageNotifier::Action a) { heard.emplace_back(id, a); });
    notifier.notifyBelow50(ProviderID::cursor, UsageLimit{"monthly", "Included usage", 60, std::nullopt});
    notifier.notifyLoginExpired(ProviderID::codex);
    ASSERT_TRUE(runLoopUntil([&] { return service.received().size() == 2; }, 5s));
    const unsigned usage = service.received()[0].id, login = service.received()[1].id;

    service.invoke(usage, "default");
    service.invoke(login, "log-in");
    service.invoke(login + 100, "default"); // another app's notice
    ASSERT_TRUE(runLoopUntil([&] { return heard.size() >= 2; }, 5s));
    test::pump(100ms);
    using enum UsageNotifier::Action;
    EXPECT_EQ(heard, (std::vector<std::pair<ProviderID, UsageNotifier::Action>>{
                         {ProviderID::cursor, openPanel}, {ProviderID::codex, logIn}}));

    // Once the notice is closed, the next of its kind is a new one, not a replacement.
    g_dbus_connection_emit_signal(desktop.get(), nullptr, "/org/freedesktop/Notifications",
                                  "org.freedesktop.Notifications", "NotificationClosed",
                                  g_variant_new("(uu)", login, 2u), nullptr);
    test::pump(100ms);
    notifier.notifyLoginExpiring(ProviderID::codex, 3);
    notifier.notifyReset(ProviderID::cursor, UsageLimit{"monthly", "Included usage", 0, std::nullopt});
    ASSERT_TRUE(runLoopUntil([&] { return service.received().size() == 4; }, 5s));
    EXPECT_EQ(service.received()[2].replacesId, 0u);
    EXPECT_EQ(service.received()[3].replacesId, usage);
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
