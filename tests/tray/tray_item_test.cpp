#include "base/log.h"
#include "fake_tray_watcher.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "tray/tray_item.h"
#include "tray/tray_label.h"
#include "tray/tray_presenter.h"
#include "ui/common/cairo_ptr.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

// Records each activation of an application action as its name and parameter.
void record(GSimpleAction* action, GVariant* parameter, gpointer fired) {
    std::string what = g_action_get_name(G_ACTION(action));
    if (parameter) what += GCharPtr(g_variant_print(parameter, FALSE)).get();
    static_cast<std::vector<std::string>*>(fired)->push_back(what);
}

} // namespace

TEST(TrayItem, RegistersWithLateAndRestartedWatchersServesItsPropertiesAndRunsTheAppsActions) {
    test::PrivateBus bus;
    auto app = bus.connect(), host = bus.connect();
    auto actions = adopt(g_simple_action_group_new());
    std::vector<std::string> fired;
    for (const char* name : {"open-panel", "toggle-panel-at", "refresh", "about", "quit"}) {
        const bool at = std::string(name) == "toggle-panel-at";
        auto action = adopt(g_simple_action_new(name, at ? G_VARIANT_TYPE("(sii)") : nullptr));
        g_signal_connect(action.get(), "activate", G_CALLBACK(record), &fired);
        g_action_map_add_action(G_ACTION_MAP(actions.get()), G_ACTION(action.get()));
    }
    std::vector<std::string> said;
    ScopedLogSink sink([&](const std::string& line) { said.push_back(line); });
    TrayItem item(app.get(), G_ACTION_GROUP(actions.get()));
    test::pump(200ms);
    ASSERT_EQ(said.size(), 1u);
    EXPECT_NE(said[0].find("[Ostrel] No system tray found"), std::string::npos) << said[0];
    EXPECT_FALSE(item.registered());

    const std::vector<TrayEntry> items{{ProviderID::claude, "8% · 50m", UsageLevel::low},
                                       {ProviderID::codex, "80%", UsageLevel::veryHigh}};
    item.update(TrayPresenter::labelPixmaps(items, true), "Claude 8% left, resets in 50m, Codex 80%",
                trayLabelText(items));

    auto watcher = std::make_unique<fake::FakeTrayWatcher>(host.get());
    ASSERT_TRUE(runLoopUntil([&] { return item.registered(); }, 5s)) << "a late watcher still gets the item";
    ASSERT_EQ(watcher->registrations().size(), 1u);
    EXPECT_EQ(watcher->registrations()[0].service, TrayItem::path) << "registered by its path";
    EXPECT_EQ(watcher->registrations()[0].busName, g_dbus_connection_get_unique_name(app.get()));

    auto call = [&](const char* path, const char* iface, const char* method, GVariant* params) {
        return runSync(test::busCall(host.get(), item.busName(), path, iface, method, params), 10s);
    };
    GVariantPtr props = call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
                             g_variant_new("(s)", "org.kde.StatusNotifierItem"));
    ASSERT_TRUE(props);
    GVariantPtr dict(g_variant_get_child_value(props.get(), 0));
    auto text = [&](const char* key) {
        const char* value = "(missing)";
        g_variant_lookup(dict.get(), key, "&s", &value);
        return std::string(value);
    };
    EXPECT_EQ(text("Title"), "Claude 8% left, resets in 50m, Codex 80%");
    EXPECT_EQ(text("XAyatanaLabel"), "Cl 8% · 50m  Cx 80%") << "the services told apart in the text";

    // Two pictures of the label, the second twice the first, four bytes a pixel.
    GVariantPtr pixmaps(g_variant_lookup_value(dict.get(), "IconPixmap", G_VARIANT_TYPE("a(iiay)")));
    ASSERT_TRUE(pixmaps);
    ASSERT_EQ(g_variant_n_children(pixmaps.get()), 2u);
    gint32 w1 = 0, h1 = 0, w2 = 0, h2 = 0;
    GVariant* bytes1 = nullptr;
    g_variant_get_child(pixmaps.get(), 0, "(ii@ay)", &w1, &h1, &bytes1);
    g_variant_get_child(pixmaps.get(), 1, "(ii@ay)", &w2, &h2, nullptr);
    EXPECT_NEAR(w2, 2 * w1, 2);
    EXPECT_EQ(g_variant_n_children(bytes1), static_cast<gsize>(w1 * h1 * 4));
    g_variant_unref(bytes1);

    // A click on the item, then the menu's entries (a hover does nothing).
    ASSERT_TRUE(call("/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate",
                     g_variant_new("(ii)", 100, 20)));
    GVariantPtr layout =
        call("/Menu", "com.canonical.dbusmenu", "GetLayout", g_variant_new("(iias)", 0, -1, nullptr));
    ASSERT_TRUE(layout);
    GVariantPtr root(g_variant_get_child_value(layout.get(), 1));
    GVariantPtr children(g_variant_get_child_value(root.get(), 2));
    EXPECT_EQ(g_variant_n_children(children.get()), 4u) << "Open, Refresh, About, Quit";
    // Hosts that read the entries in groups get one answer for each.
    GVariantPtr group = call("/Menu", "com.canonical.dbusmenu", "GetGroupProperties",
                             g_variant_new_parsed("([1, 2, 3, 4], @as [])"));
    ASSERT_TRUE(group);
    EXPECT_EQ(g_variant_n_children(GVariantPtr(g_variant_get_child_value(group.get(), 0)).get()), 4u);
    call("/Menu", "com.canonical.dbusmenu", "Event",
         g_variant_new("(isvu)", 2, "clicked", g_variant_new_int32(0), 0u));
    GVariantBuilder events;
    g_variant_builder_init(&events, G_VARIANT_TYPE("a(isvu)"));
    for (auto [id, type] : {std::pair{1, "clicked"}, {4, "clicked"}, {3, "hovered"}, {3, "clicked"}})
        g_variant_builder_add(&events, "(isvu)", id, type, g_variant_new_int32(0), 0u);
    ASSERT_TRUE(call("/Menu", "com.canonical.dbusmenu", "EventGroup", g_variant_new("(a(isvu))", &events)));
    EXPECT_EQ(fired, (std::vector<std::string>{"toggle-panel-at('', 100, 20)", "refresh", "open-panel",
                                               "about", "quit"}));

    // The tray host restarts: the item registers with the new watcher, and says nothing more.
    watcher.reset();
    test::pump(100ms);
    fake::FakeTrayWatcher again(host.get());
    ASSERT_TRUE(runLoopUntil([&] { return again.items().size() == 1; }, 5s));
    EXPECT_EQ(again.items()[0].busName, g_dbus_connection_get_unique_name(app.get()));
    EXPECT_EQ(said.size(), 1u);
}

// A watcher that refuses the item at first, or takes it and loses it, quietly or saying so (GNOME's
// extension lost one start in four while setting itself up): the item is listed in the end.
TEST(TrayItem, EndsUpListedWhenTheWatcherRefusesOrLosesItsFirstRegistration) {
    using Fault = fake::FakeTrayWatcher::Fault;
    ScopedLogSink quiet([](const std::string&) {});
    for (Fault fault : {Fault::refuse, Fault::loseQuietly, Fault::lose}) {
        test::PrivateBus bus;
        auto app = bus.connect(), host = bus.connect();
        fake::FakeTrayWatcher watcher(host.get());
        watcher.failNext(fault);
        ASSERT_TRUE(runLoopUntil([&] { return watcher.owned(); }, 5s));
        TrayItem item(app.get(), nullptr);
        EXPECT_TRUE(runLoopUntil([&] { return watcher.items().size() == 1 && item.registered(); }, 15s))
            << "fault " << static_cast<int>(fault);
        EXPECT_GE(watcher.registrations().size(), 2u);
    }
}

TEST(TrayPixmap, PremultipliedNativePixelsBecomeStraightArgbBytes) {
    CairoSurfacePtr s(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 2, 1));
    cairo_t* cr = cairo_create(s.get());
    cairo_set_source_rgba(cr, 1.0, 0.5, 0.0, 0.5); // Cairo keeps red and green halved
    cairo_rectangle(cr, 0, 0, 1, 1);
    cairo_fill(cr);
    cairo_destroy(cr);
    const TrayPixmap p = TrayPixmap::fromSurface(s.get());
    ASSERT_EQ(p.argb.size(), 8u);
    const int want[] = {128, 255, 128, 0, 0, 0, 0, 0}; // alpha first; the clear pixel stays clear
    for (int i = 0; i < 8; ++i)
        EXPECT_NEAR(p.argb[i], want[i], 1) << "byte " << i;
}
