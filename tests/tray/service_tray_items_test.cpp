#include "fake_tray_watcher.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "support/test_env.h"
#include "tray/service_tray_items.h"
#include "tray/tray_controller.h"
#include "tray/tray_label.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <tuple>
#include <vector>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

TEST(ServiceTrayItems, OneSquareItemPerServiceShowingAndBackToThePlainIcon) {
    PrivateBus bus; // also the session bus of this process, which further items connect to
    auto app = bus.connect(), host = bus.connect();
    fake::FakeTrayWatcher watcher(host.get());
    ASSERT_TRUE(runLoopUntil([&] { return watcher.owned(); }, 5s));

    ScriptedModel m;
    ServiceTrayItems tray(*m.model,
                          [&](int index) { return std::make_unique<TrayItem>(app.get(), nullptr, index); });
    ASSERT_EQ(tray.items().size(), 1u) << "nothing to show: the plain icon";

    for (ProviderID id : {ProviderID::claude, ProviderID::codex})
        m.succeed(id, m.snapshot(m.limit("main", 25)));
    ASSERT_EQ(tray.items().size(), 2u);
    ASSERT_TRUE(runLoopUntil([&] { return watcher.registrations().size() == 2; }, 5s));
    EXPECT_NE(watcher.registrations()[0].sender, watcher.registrations()[1].sender)
        << "each item is a party of its own, so both can sit at the usual object path";

    m.fail(ProviderID::claude, ProviderError::needsLogin());
    EXPECT_EQ(tray.items().size(), 1u) << "a service that needs a login leaves the tray";
}

TEST(ServiceBadge, TheDigitsAreTallEnoughToReadAndFollowTheNumber) {
    // Rows of the lower part that hold the level's colour: the digits' ink height.
    auto digitRows = [](cairo_surface_t* s, Rgb c) {
        cairo_surface_flush(s);
        const int size = cairo_image_surface_get_width(s);
        int rows = 0;
        for (int y = size * 2 / 5; y < size; ++y) {
            const auto* row = reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(s) +
                                                                     y * cairo_image_surface_get_stride(s));
            rows += std::any_of(row, row + size, [c](std::uint32_t p) {
                auto near = [](unsigned v, double want) { return std::abs(int(v) - int(want * 255)) < 40; };
                return (p >> 24) > 240 && near((p >> 16) & 255, c.r) && near((p >> 8) & 255, c.g) &&
                       near(p & 255, c.b);
            });
        }
        return rows;
    };
    for (bool dark : {true, false})
        for (double left : {8.0, 42.0, 100.0}) {
            CairoSurfacePtr b = renderServiceBadge(ProviderID::cursor, left, UsageLevel::low, dark, 22);
            EXPECT_GE(digitRows(b.get(), iconColor(UsageLevel::low, dark)), 9)
                << left << (dark ? " dark" : " light");
        }
    auto bytes = [](cairo_surface_t* s) {
        cairo_surface_flush(s);
        const auto* d = cairo_image_surface_get_data(s);
        return std::vector<unsigned char>(d, d + cairo_image_surface_get_stride(s) *
                                                     cairo_image_surface_get_height(s));
    };
    CairoSurfacePtr a42 = renderServiceBadge(ProviderID::claude, 42, UsageLevel::medium, true, 22);
    CairoSurfacePtr a87 = renderServiceBadge(ProviderID::claude, 87, UsageLevel::medium, true, 22);
    EXPECT_NE(bytes(a42.get()), bytes(a87.get())) << "the number is drawn, not a fixed picture";
}

TEST(TrayController, FollowsTheSettingTheOverrideAndTheHostWithoutARestart) {
    using enum TrayLayout;
    constexpr TrayShape wide = TrayShape::label, squares = TrayShape::perService;
    const std::tuple<TrayLayout, const char*, const char*, TrayShape> choices[] = {
        {automatic, "", "waybar", wide},
        {automatic, "", "gnome-shell", wide},
        {automatic, "", "panel-6-systray", squares},
        {automatic, "", "plasmashell", squares},
        {automatic, "", "", squares},
        {automatic, "odd", "waybar", wide},
        {label, "", "panel-6-systray", wide},
        {perService, "", "waybar", squares},
        {automatic, "label", "plasmashell", wide},
        {label, "per-service", "waybar", squares}};
    for (const auto& [setting, override, host, want] : choices)
        EXPECT_EQ(chooseTrayShape(setting, override, host), want) << override << " " << host;

    PrivateBus bus;
    auto app = bus.connect(), host = bus.connect();
    fake::FakeTrayWatcher watcher(host.get());
    ASSERT_TRUE(runLoopUntil([&] { return watcher.owned(); }, 5s));
    ScriptedModel m;
    for (ProviderID id : {ProviderID::claude, ProviderID::codex})
        m.succeed(id, m.snapshot(m.limit("main", 25)));
    TrayController tray(*m.model, app.get(), nullptr);
    // The watcher is this test program: a host with no known name gets one item per service.
    ASSERT_TRUE(runLoopUntil([&] { return watcher.registrations().size() == 2; }, 5s));
    EXPECT_EQ(tray.shape(), squares);
    m.settings.setTrayLayout(label);
    ASSERT_TRUE(runLoopUntil([&] { return watcher.registrations().size() == 3; }, 5s));
    EXPECT_EQ(tray.shape(), wide);
}
