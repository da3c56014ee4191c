#include "fake_tray_watcher.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "tray/service_tray_items.h"
#include "tray/tray_controller.h"

#include <gtest/gtest.h>
#include <tuple>
#include <vector>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

TEST(TrayController, PicksTheShapeFromTheSettingTheOverrideAndTheHost) {
    using enum TrayLayout;
    constexpr TrayShape wide = TrayShape::label, squares = TrayShape::perService;
    const std::tuple<TrayLayout, const char*, const char*, TrayShape> choices[] = {
        {automatic, "", "waybar", wide},
        {automatic, "", "gnome-shell", wide},
        {automatic, "", "panel-6-systray", squares},
        {automatic, "", "", squares},
        {label, "", "panel-6-systray", wide},
        {perService, "", "waybar", squares},
        {automatic, "label", "plasmashell", wide},
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
    auto registered = [&](std::size_t n) {
        return runLoopUntil([&] { return watcher.registrations().size() == n; }, 5s);
    };
    {
        ServiceTrayItems tray(
            *m.model, [&](int index) { return std::make_unique<TrayItem>(app.get(), nullptr, index); });
        ASSERT_EQ(tray.items().size(), 1u) << "nothing to show: the plain icon";
        m.succeed(ProviderID::claude, m.snapshot(m.limit("main", 25)));
        m.succeed(ProviderID::codex, m.snapshot(m.limit("main", 60)));
        ASSERT_EQ(tray.items().size(), 2u);
        ASSERT_TRUE(registered(2));
        EXPECT_NE(watcher.registrations()[0].sender, watcher.registrations()[1].sender)
            << "each item is a party of its own, so both can sit at the usual object path";
        // Each item tells its own service's number, not the first one's.
        const std::pair<std::string, std::string> want[] = {{"Claude 75%", "75%"}, {"Codex 40%", "40%"}};
        for (std::size_t i = 0; i < 2; ++i) {
            const std::string name = tray.items()[i]->busName();
            EXPECT_EQ(runSync(trayItemProperty(host.get(), name, "Title"), 5s), want[i].first);
            EXPECT_EQ(runSync(trayItemProperty(host.get(), name, "XAyatanaLabel"), 5s), want[i].second);
        }
        m.fail(ProviderID::claude, ProviderError::needsLogin());
        EXPECT_EQ(tray.items().size(), 1u) << "a service that needs a login leaves the tray";
    }
    TrayController tray(*m.model, app.get(), nullptr);
    // The watcher is this test program: a host with no known name gets one item per service.
    ASSERT_TRUE(registered(3));
    EXPECT_EQ(tray.shape(), TrayShape::perService);
    m.settings.setTrayLayout(TrayLayout::label);
    ASSERT_TRUE(registered(4));
    EXPECT_EQ(tray.shape(), TrayShape::label);
}
