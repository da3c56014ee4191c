#include "fake_tray_watcher.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "tray/service_tray_items.h"
#include "tray/tray_controller.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <tuple>
#include <vector>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

TEST(TrayController, PicksTheShapeFromTheSettingTheOverrideAndTheHost) {
    using enum TrayLayout;
    constexpr TrayShape wide = TrayShape::label, text = TrayShape::textBeside,
                        squares = TrayShape::perService;
    const std::tuple<TrayLayout, const char*, const char*, TrayShape> choices[] = {
        {automatic, "", "waybar", wide},
        {automatic, "", "gnome-shell", text},
        {automatic, "", "panel-6-systray", squares},
        {automatic, "", "kded5", squares},
        {automatic, "", "", squares},
        {label, "", "panel-6-systray", wide},
        {label, "", "gnome-shell", text},
        {perService, "", "waybar", squares},
        {perService, "", "gnome-shell", squares},
        {automatic, "label", "plasmashell", wide},
        {automatic, "label", "gnome-shell", text},
        {label, "per-service", "waybar", squares}};
    for (const auto& [setting, override, host, want] : choices)
        EXPECT_EQ(chooseTrayShape(setting, override, host), want) << override << " " << host;
}

// One square item per service showing, else the plain icon; the controller switches to the label
// and back without a restart.
TEST(ServiceTrayItems, OneSquareItemPerServiceShowingAndTheControllerFollowsTheSetting) {
    PrivateBus bus; // also the session bus of this process, which further items connect to
    auto app = bus.connect(), host = bus.connect();
    fake::FakeTrayWatcher watcher(host.get());
    ASSERT_TRUE(runLoopUntil([&] { return watcher.owned(); }, 5s));
    ScriptedModel m;
    auto listed = [&](std::size_t n) {
        return runLoopUntil([&] { return watcher.items().size() == n; }, 5s);
    };
    {
        ServiceTrayItems tray(
            *m.model, [&](int index) { return std::make_unique<TrayItem>(app.get(), nullptr, index, true); });
        ASSERT_EQ(tray.items().size(), 1u) << "nothing to show: the plain icon";
        m.succeed(ProviderID::claude, m.snapshot(m.limit("main", 25)));
        m.succeed(ProviderID::codex, m.snapshot(m.limit("main", 60)));
        ASSERT_EQ(tray.items().size(), 2u);
        ASSERT_TRUE(listed(2)) << "the plain icon's item left with its connection";
        EXPECT_NE(watcher.items()[0].sender, watcher.items()[1].sender)
            << "each item is a party of its own, so both can sit at the usual object path";
        // Each item tells its own service's number, not the first one's.
        const std::pair<std::string, std::string> want[] = {{"Ostrel 1 of 2: Claude 75%", "75%"},
                                                            {"Ostrel 2 of 2: Codex 40%", "40%"}};
        for (std::size_t i = 0; i < 2; ++i) {
            const std::string name = tray.items()[i]->busName();
            EXPECT_EQ(runSync(trayItemProperty(host.get(), name, "Title"), 5s), want[i].first);
            EXPECT_EQ(runSync(trayItemProperty(host.get(), name, "XAyatanaLabel"), 5s), want[i].second);
        }
        m.fail(ProviderID::claude, ProviderError::needsLogin());
        EXPECT_EQ(tray.items().size(), 1u) << "a service that needs a login leaves the tray";
    }
    ASSERT_TRUE(listed(0));
    TrayController tray(*m.model, app.get(), nullptr);
    // The watcher is this test program: a host with no known name gets one item per service (here
    // Codex's alone), on a connection of its own.
    const std::string appName = g_dbus_connection_get_unique_name(app.get());
    ASSERT_TRUE(listed(1));
    EXPECT_NE(watcher.items()[0].busName, appName);
    EXPECT_EQ(tray.shape(), TrayShape::perService);
    EXPECT_EQ(tray.trayPresent(), std::optional<bool>(true));
    m.settings.setTrayLayout(TrayLayout::label);
    ASSERT_TRUE(runLoopUntil(
        [&] { return watcher.items().size() == 1 && watcher.items()[0].busName == appName; }, 5s));
    EXPECT_EQ(tray.shape(), TrayShape::label);
}

// Hosts show items in the order they registered (Xfce: newest first) or sort them by title
// (Plasma): either way they come out in the tabs' order, Claude, Cursor, Codex.
TEST(ServiceTrayItems, ShowInTheTabsOrderWhereHostsOrderByRegistrationOrByTitle) {
    EXPECT_TRUE(showsNewestFirst("panel-6-systray"));
    EXPECT_TRUE(showsNewestFirst("xfce4-panel"));
    EXPECT_FALSE(showsNewestFirst("waybar"));
    EXPECT_FALSE(showsNewestFirst("plasmashell"));
    PrivateBus bus;
    auto host = bus.connect();
    fake::FakeTrayWatcher watcher(host.get());
    ASSERT_TRUE(runLoopUntil([&] { return watcher.owned(); }, 5s));
    for (bool newestFirst : {false, true}) {
        ScriptedModel m;
        auto tray = std::make_unique<ServiceTrayItems>(
            *m.model, [&](int index) { return std::make_unique<TrayItem>(nullptr, nullptr, index, true); },
            newestFirst);
        // The plain icon first, then three services: the set changes while the host is listening.
        ASSERT_TRUE(runLoopUntil([&] { return watcher.items().size() == 1; }, 5s));
        for (ProviderID id : {ProviderID::codex, ProviderID::claude, ProviderID::cursor})
            m.succeed(id, m.snapshot(m.limit("main", 25)));
        ASSERT_TRUE(runLoopUntil(
            [&] {
                return watcher.items().size() == 3 &&
                       std::all_of(tray->items().begin(), tray->items().end(),
                                   [](const auto& item) { return item->registered(); });
            },
            10s));
        std::vector<std::string> titles;
        for (const auto& item : watcher.items())
            titles.push_back(runSync(trayItemProperty(host.get(), item.busName, "Title"), 10s));
        if (newestFirst) std::reverse(titles.begin(), titles.end());
        ASSERT_EQ(titles.size(), 3u);
        EXPECT_EQ(titles[0].rfind("Ostrel 1 of 3: Claude", 0), 0u) << titles[0];
        EXPECT_EQ(titles[1].rfind("Ostrel 2 of 3: Cursor", 0), 0u) << titles[1];
        EXPECT_EQ(titles[2].rfind("Ostrel 3 of 3: Codex", 0), 0u) << titles[2];
        EXPECT_TRUE(std::is_sorted(titles.begin(), titles.end())) << "sorted by title, they keep the order";
        tray.reset(); // the items go with their connections, and the host drops them
        ASSERT_TRUE(runLoopUntil([&] { return watcher.items().empty(); }, 5s));
    }
    // Services that answer one after another at start: the items are made again once their number
    // holds still, not at each answer (Xfce's tray plugin crashes on items that come and go).
    ScriptedModel m;
    const std::size_t before = watcher.registrations().size();
    ServiceTrayItems tray(
        *m.model, [&](int index) { return std::make_unique<TrayItem>(nullptr, nullptr, index, true); }, true,
        300ms);
    ASSERT_TRUE(runLoopUntil([&] { return watcher.items().size() == 1; }, 5s));
    for (ProviderID id : {ProviderID::codex, ProviderID::claude, ProviderID::cursor}) {
        m.succeed(id, m.snapshot(m.limit("main", 25)));
        runLoopUntil([] { return false; }, 100ms); // time enough for items made at once to register
    }
    ASSERT_TRUE(runLoopUntil([&] { return watcher.items().size() == 3; }, 10s));
    EXPECT_EQ(watcher.registrations().size() - before, 4u) << "the plain icon, then the three once";
}
