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

constexpr const char* portalPath = "/org/freedesktop/portal/desktop";

// The settings portal's Read, answering the scheme it was registered with (0 none, 1 dark, 2 light).
void readScheme(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                GDBusMethodInvocation* call, gpointer scheme) {
    GVariant* value = g_variant_new_uint32(GPOINTER_TO_UINT(scheme));
    g_dbus_method_invocation_return_value(call, g_variant_new("(v)", g_variant_new_variant(value)));
}

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
    std::unique_ptr<GDBusNodeInfo, decltype(&g_dbus_node_info_unref)> info(
        g_dbus_node_info_new_for_xml(
            "<node><interface name='org.freedesktop.portal.Settings'><method name='Read'>"
            "<arg type='s'/><arg type='s'/><arg type='v' direction='out'/></method>"
            "</interface></node>",
            nullptr),
        &g_dbus_node_info_unref);
    static const GDBusInterfaceVTable vtable{&readScheme, nullptr, nullptr, {}};
    g_dbus_connection_register_object(desktop.get(), portalPath, info->interfaces[0], &vtable,
                                      GUINT_TO_POINTER(2), nullptr, nullptr);
    g_bus_own_name_on_connection(desktop.get(), "org.freedesktop.portal.Desktop", G_BUS_NAME_OWNER_FLAGS_NONE,
                                 nullptr, nullptr, nullptr, nullptr);
    auto announce = [&](unsigned changed) {
        g_dbus_connection_emit_signal(desktop.get(), nullptr, portalPath, "org.freedesktop.portal.Settings",
                                      "SettingChanged",
                                      g_variant_new("(ssv)", "org.freedesktop.appearance", "color-scheme",
                                                    g_variant_new_uint32(changed)),
                                      nullptr);
    };
    setGtk("Adwaita-dark", true);
    changes = 0;
    TrayAppearance appearance(app.get(), [&] { ++changes; });
    ASSERT_TRUE(runLoopUntil([&] { return changes > 0; }, 5s)) << "the portal was read";
    EXPECT_EQ(appearance.barIsDark(), false);
    announce(1);
    ASSERT_TRUE(runLoopUntil([&] { return appearance.barIsDark() == true; }, 5s));
    announce(0); // no preference: GTK decides again
    ASSERT_TRUE(runLoopUntil([&] { return changes >= 3; }, 5s));
    EXPECT_EQ(appearance.barIsDark(), true);
    setGtk("Adwaita", false);
    EXPECT_EQ(appearance.barIsDark(), false);
}
