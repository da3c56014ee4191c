// Which bar the tray draws for: the portal's colour scheme first, then the GTK dark preference or a
// dark theme name, else light; the environment overrides all; every change is followed at once.

#include "support/display.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "tray/tray_appearance.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <memory>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

// The settings portal's colour scheme (0 none, 1 dark, 2 light): a name that answers Read, and the
// SettingChanged signal a desktop sends.
class FakePortal {
  public:
    FakePortal(GDBusConnection* bus, unsigned scheme) : bus_(bus), scheme_(scheme) {
        info_.reset(g_dbus_node_info_new_for_xml(
            "<node><interface name='org.freedesktop.portal.Settings'><method name='Read'><arg type='s'/>"
            "<arg type='s'/><arg type='v' direction='out'/></method></interface></node>",
            nullptr));
        static const GDBusInterfaceVTable vtable{&FakePortal::onRead, nullptr, nullptr, {}};
        object_ = g_dbus_connection_register_object(bus, path, info_->interfaces[0], &vtable, this, nullptr,
                                                    nullptr);
        owner_ =
            g_bus_own_name_on_connection(bus, "org.freedesktop.portal.Desktop", G_BUS_NAME_OWNER_FLAGS_NONE,
                                         nullptr, nullptr, nullptr, nullptr);
    }
    ~FakePortal() {
        g_bus_unown_name(owner_);
        g_dbus_connection_unregister_object(bus_, object_);
    }
    void announce(unsigned scheme) {
        scheme_ = scheme;
        g_dbus_connection_emit_signal(bus_, nullptr, path, "org.freedesktop.portal.Settings",
                                      "SettingChanged",
                                      g_variant_new("(ssv)", "org.freedesktop.appearance", "color-scheme",
                                                    g_variant_new_uint32(scheme)),
                                      nullptr);
    }

  private:
    static void onRead(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                       GDBusMethodInvocation* call, gpointer self) {
        GVariant* scheme = g_variant_new_uint32(static_cast<FakePortal*>(self)->scheme_);
        g_dbus_method_invocation_return_value(call, g_variant_new("(v)", g_variant_new_variant(scheme)));
    }
    static constexpr const char* path = "/org/freedesktop/portal/desktop";
    GDBusConnection* bus_;
    unsigned scheme_;
    std::unique_ptr<GDBusNodeInfo, decltype(&g_dbus_node_info_unref)> info_{nullptr, &g_dbus_node_info_unref};
    guint object_ = 0, owner_ = 0;
};

void setGtk(const char* theme, bool preferDark) {
    g_object_set(gtk_settings_get_default(), "gtk-theme-name", theme, "gtk-application-prefer-dark-theme",
                 preferDark, nullptr);
}

} // namespace

TEST(TrayAppearance, EachSourceInItsOrderAndEveryChangeAtOnce) {
    ASSERT_TRUE(test::startGtk()) << "no display";
    g_unsetenv("OSTREL_TRAY_STYLE");
    test::PrivateBus bus;
    GObjectPtr<GDBusConnection> app = bus.connect(), desktop = bus.connect();
    int changes = 0;
    {
        // No portal, a light theme, no preference: light, not "whatever we had".
        setGtk("Adwaita", false);
        TrayAppearance appearance(app.get(), [&] { ++changes; });
        EXPECT_EQ(appearance.barIsDark(), false);
        setGtk("Adwaita-Dark", false);
        EXPECT_GE(changes, 1) << "a theme change is followed at once";
        EXPECT_EQ(appearance.barIsDark(), true);
        setGtk("Adwaita", true);
        EXPECT_EQ(appearance.barIsDark(), true) << "the dark preference";

        g_setenv("OSTREL_TRAY_STYLE", "light", TRUE);
        EXPECT_EQ(appearance.barIsDark(), false) << "the override wins";
        g_unsetenv("OSTREL_TRAY_STYLE");
    }
    // The portal's scheme comes before GTK's, and its changes arrive as signals.
    FakePortal portal(desktop.get(), 2);
    setGtk("Adwaita-dark", true);
    changes = 0;
    TrayAppearance appearance(app.get(), [&] { ++changes; });
    ASSERT_TRUE(runLoopUntil([&] { return changes > 0; }, 5s)) << "the portal was read";
    EXPECT_EQ(appearance.barIsDark(), false);
    portal.announce(1);
    ASSERT_TRUE(runLoopUntil([&] { return appearance.barIsDark() == true; }, 5s));
    portal.announce(0); // no preference: GTK decides again
    ASSERT_TRUE(runLoopUntil([&] { return changes >= 3; }, 5s));
    EXPECT_EQ(appearance.barIsDark(), true);
    setGtk("Adwaita", false);
    EXPECT_EQ(appearance.barIsDark(), false);
}
