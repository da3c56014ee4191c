#include "fake_tray_watcher.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "support/test_env.h"
#include "tray/service_tray_items.h"
#include "tray/tray_label.h"

#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <tuple>

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

TEST(ServiceBadge, TheRingIsAsFullAsWhatIsLeft) {
    auto inked = [](cairo_surface_t* s, int x, int y) {
        cairo_surface_flush(s);
        const auto* row = cairo_image_surface_get_data(s) + y * cairo_image_surface_get_stride(s);
        return (reinterpret_cast<const std::uint32_t*>(row)[x] >> 24) > 200;
    };
    // Left of the centre on the ring: reached by the arc only past three quarters.
    CairoSurfacePtr quarter = renderServiceBadge(ProviderID::claude, 25, UsageLevel::medium, true, 44);
    CairoSurfacePtr most = renderServiceBadge(ProviderID::claude, 90, UsageLevel::veryHigh, true, 44);
    EXPECT_EQ(cairo_image_surface_get_width(most.get()), 44);
    EXPECT_EQ(cairo_image_surface_get_height(most.get()), 44);
    EXPECT_FALSE(inked(quarter.get(), 2, 22));
    EXPECT_TRUE(inked(most.get(), 2, 22));
    EXPECT_TRUE(inked(quarter.get(), 41, 22)) << "the first quarter runs from the top to the right";

    // A strip of badges on a dark bar, for reviewers.
    CairoSurfacePtr strip(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 3 * 52 + 8, 60));
    cairo_t* cr = cairo_create(strip.get());
    cairo_set_source_rgb(cr, 0.13, 0.13, 0.13);
    cairo_paint(cr);
    const std::tuple<ProviderID, double, UsageLevel> badges[] = {
        {ProviderID::claude, 8, UsageLevel::low},
        {ProviderID::cursor, 42, UsageLevel::medium},
        {ProviderID::codex, 90, UsageLevel::veryHigh}};
    int x = 8;
    for (const auto& [id, left, level] : badges) {
        CairoSurfacePtr b = renderServiceBadge(id, left, level, true, 44);
        cairo_set_source_surface(cr, b.get(), x, 8);
        cairo_paint(cr);
        x += 52;
    }
    cairo_destroy(cr);
    const std::string dir = std::string(OSTREL_BUILD_DIR) + "/screenshots/tray";
    g_mkdir_with_parents(dir.c_str(), 0755);
    EXPECT_EQ(cairo_surface_write_to_png(strip.get(), (dir + "/service-badges.png").c_str()),
              CAIRO_STATUS_SUCCESS);
}
