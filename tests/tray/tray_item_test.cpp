#include "fake_tray_watcher.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "tray/tray_item.h"
#include "tray/tray_presenter.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

// Two parties on a private bus: the app's connection and the tray host's.
class TrayBus : public ::testing::Test {
  protected:
    void SetUp() override {
        app_ = bus_.connect();
        host_ = bus_.connect();
        ASSERT_TRUE(app_ && host_);
    }
    void TearDown() override {
        app_.reset();
        host_.reset();
    }
    GVariantPtr properties(const std::string& name) {
        return callWhileServing(name, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
                                g_variant_new("(s)", "org.kde.StatusNotifierItem"));
    }
    // Calls `method` on the item from the host's side; the loop runs meanwhile so the item can answer.
    GVariantPtr callWhileServing(const std::string& name, const char* path, const char* iface,
                                 const char* method, GVariant* params) {
        GVariantPtr result;
        bool done = false;
        struct Ctx {
            GVariantPtr* out;
            bool* done;
        } ctx{&result, &done};
        g_dbus_connection_call(
            host_.get(), name.c_str(), path, iface, method, params, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000,
            nullptr,
            [](GObject* src, GAsyncResult* res, gpointer data) {
                auto* c = static_cast<Ctx*>(data);
                c->out->reset(g_dbus_connection_call_finish(G_DBUS_CONNECTION(src), res, nullptr));
                *c->done = true;
            },
            &ctx);
        runLoopUntil([&] { return done; }, 5s);
        return result;
    }

    test::PrivateBus bus_;
    GObjectPtr<GDBusConnection> app_;
    GObjectPtr<GDBusConnection> host_;
};

} // namespace

TEST_F(TrayBus, RegistersWithAWatcherThatAppearsLaterAndServesItsProperties) {
    std::vector<std::pair<int, int>> activations;
    int refreshes = 0;
    TrayItem::Actions actions;
    actions.activate = [&](int x, int y) { activations.emplace_back(x, y); };
    actions.refresh = [&] { ++refreshes; };
    testing::internal::CaptureStdout();
    TrayItem item(app_.get(), actions);
    test::pump(200ms);
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_NE(said.find("No system tray found"), std::string::npos) << said;
    EXPECT_FALSE(item.registered());

    const std::vector<TrayEntry> items{{ProviderID::claude, "8% · 50m", UsageLevel::low},
                                       {ProviderID::codex, "80%", UsageLevel::veryHigh}};
    item.update(TrayPresenter::labelPixmaps(items, true), "Claude 8% left, resets in 50m, Codex 80%",
                TrayPresenter::labelText(items));

    auto watcher = std::make_unique<fake::FakeTrayWatcher>(host_.get());
    ASSERT_TRUE(runLoopUntil([&] { return item.registered(); }, 5s)) << "a late watcher still gets the item";
    ASSERT_EQ(watcher->registrations().size(), 1u);
    EXPECT_EQ(watcher->registrations()[0].service, item.busName());

    GVariantPtr props = properties(item.busName());
    ASSERT_TRUE(props);
    GVariant* dict = g_variant_get_child_value(props.get(), 0);
    const char* title = nullptr;
    ASSERT_TRUE(g_variant_lookup(dict, "Title", "&s", &title));
    EXPECT_STREQ(title, "Claude 8% left, resets in 50m, Codex 80%");
    const char* label = nullptr;
    ASSERT_TRUE(g_variant_lookup(dict, "XAyatanaLabel", "&s", &label));
    EXPECT_STREQ(label, "8% · 50m  80%");
    gboolean isMenu = TRUE;
    ASSERT_TRUE(g_variant_lookup(dict, "ItemIsMenu", "b", &isMenu));
    EXPECT_FALSE(isMenu);
    const char* menu = nullptr;
    ASSERT_TRUE(g_variant_lookup(dict, "Menu", "&o", &menu));
    EXPECT_STREQ(menu, "/Menu");
    GVariant* tooltip = g_variant_lookup_value(dict, "ToolTip", G_VARIANT_TYPE("(sa(iiay)ss)"));
    ASSERT_TRUE(tooltip);
    const char* tipTitle = nullptr;
    g_variant_get(tooltip, "(&sa(iiay)&s&s)", nullptr, nullptr, &tipTitle, nullptr);
    EXPECT_STREQ(tipTitle, title);
    g_variant_unref(tooltip);

    // Two pictures, the second twice the first, in ARGB network byte order.
    GVariant* pixmaps = g_variant_lookup_value(dict, "IconPixmap", G_VARIANT_TYPE("a(iiay)"));
    ASSERT_TRUE(pixmaps);
    ASSERT_EQ(g_variant_n_children(pixmaps), 2u);
    gint32 w1 = 0, h1 = 0, w2 = 0, h2 = 0;
    GVariant* bytes1 = nullptr;
    g_variant_get_child(pixmaps, 0, "(ii@ay)", &w1, &h1, &bytes1);
    g_variant_get_child(pixmaps, 1, "(ii@ay)", &w2, &h2, nullptr);
    EXPECT_GE(h1, 15) << "the logo is 15 points tall";
    EXPECT_LE(h1, 22);
    EXPECT_GT(w1, 2 * h1) << "a wide label";
    EXPECT_NEAR(w2, 2 * w1, 2);
    EXPECT_NEAR(h2, 2 * h1, 2);
    gsize n = 0;
    const auto* px = static_cast<const guint8*>(g_variant_get_fixed_array(bytes1, &n, 1));
    ASSERT_EQ(n, static_cast<gsize>(w1 * h1 * 4));
    // The Claude logo's solid pixels are red for a low level on a dark bar: (1.0, 0.36, 0.33).
    bool sawRed = false;
    for (int y = 0; y < h1 && !sawRed; ++y)
        for (int x = 0; x < 15 && !sawRed; ++x) {
            const guint8* p = px + (y * w1 + x) * 4;
            if (p[0] == 255 && p[1] == 255 && p[2] > 80 && p[2] < 100 && p[3] > 75 && p[3] < 95)
                sawRed = true;
        }
    EXPECT_TRUE(sawRed) << "alpha first, then red, green, blue, not premultiplied";
    g_variant_unref(bytes1);
    g_variant_unref(pixmaps);
    g_variant_unref(dict);

    GVariantPtr activated =
        callWhileServing(item.busName(), "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate",
                         g_variant_new("(ii)", 100, 20));
    ASSERT_TRUE(activated);
    EXPECT_EQ(activations, (std::vector<std::pair<int, int>>{{100, 20}}));

    GVariantPtr layout = callWhileServing(item.busName(), "/Menu", "com.canonical.dbusmenu", "GetLayout",
                                          g_variant_new("(iias)", 0, -1, nullptr));
    ASSERT_TRUE(layout);
    GVariantPtr root(g_variant_get_child_value(layout.get(), 1));
    GVariantPtr children(g_variant_get_child_value(root.get(), 2));
    EXPECT_EQ(g_variant_n_children(children.get()), 3u) << "Open, Refresh, Quit";
    callWhileServing(item.busName(), "/Menu", "com.canonical.dbusmenu", "Event",
                     g_variant_new("(isvu)", 2, "clicked", g_variant_new_int32(0), 0u));
    EXPECT_EQ(refreshes, 1);

    // The tray host restarts: the item registers with the new watcher.
    watcher.reset();
    test::pump(100ms);
    fake::FakeTrayWatcher again(host_.get());
    ASSERT_TRUE(runLoopUntil([&] { return again.registrations().size() == 1; }, 5s));
    EXPECT_EQ(again.registrations()[0].service, item.busName());
}
