#include "tray/tray_appearance.h"

#include "async/bounded_call.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <gtk/gtk.h>
#include <memory>
#include <string>

namespace ostrel {

namespace {
constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* settingsIface = "org.freedesktop.portal.Settings";

constexpr std::chrono::milliseconds portalTimeout{3000};

// The portal wraps the value in one or two variants depending on the method and its version.
std::optional<unsigned> schemeFrom(GVariant* v) {
    GVariantPtr unwrapped;
    while (v && g_variant_is_of_type(v, G_VARIANT_TYPE_VARIANT)) {
        unwrapped.reset(g_variant_get_variant(v));
        v = unwrapped.get();
    }
    if (v && g_variant_is_of_type(v, G_VARIANT_TYPE_UINT32)) return g_variant_get_uint32(v);
    return std::nullopt;
}
} // namespace

TrayAppearance::TrayAppearance(GDBusConnection* bus, std::function<void()> changed)
    : bus_(GObjectPtr<GDBusConnection>::ref(bus)), changed_(std::move(changed)) {
    followGtkSettings();
    if (!bus_) return;
    subscription_ = g_dbus_connection_signal_subscribe(
        bus_.get(), portalName, settingsIface, "SettingChanged", portalPath, "org.freedesktop.appearance",
        G_DBUS_SIGNAL_FLAGS_NONE, &TrayAppearance::onSettingChanged, this, nullptr);
    tasks_.spawn(readPortal());
}

void TrayAppearance::followGtkSettings() {
    GtkSettings* gs = gtk_settings_get_default();
    if (!gs) return;
    auto onNotify = +[](GObject*, GParamSpec*, gpointer self) {
        auto* me = static_cast<TrayAppearance*>(self);
        if (me->changed_) me->changed_();
    };
    for (const char* signal : {"notify::gtk-theme-name", "notify::gtk-application-prefer-dark-theme"})
        gtkHandlers_.push_back(g_signal_connect(gs, signal, G_CALLBACK(onNotify), this));
}

TrayAppearance::~TrayAppearance() {
    tasks_.cancelAll(); // the read must not finish into a half-destroyed object
    if (GtkSettings* gs = gtk_settings_get_default())
        for (gulong handler : gtkHandlers_)
            g_signal_handler_disconnect(gs, handler);
    if (subscription_) g_dbus_connection_signal_unsubscribe(bus_.get(), subscription_);
}

Task<void> TrayAppearance::readPortal() {
    GDBusConnection* bus = bus_.get();
    auto out = co_await boundedCall(
        [bus](GCancellable* c, GAsyncReadyCallback cb, gpointer data) {
            g_dbus_connection_call(bus, portalName, portalPath, settingsIface, "Read",
                                   g_variant_new("(ss)", "org.freedesktop.appearance", "color-scheme"),
                                   G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE,
                                   static_cast<int>(portalTimeout.count()), c, cb, data);
        },
        portalTimeout);
    GVariantPtr reply(g_dbus_connection_call_finish(bus, out.result.get(), nullptr));
    if (!reply) co_return; // no portal: the GTK theme decides
    const GVariantPtr inner(g_variant_get_child_value(reply.get(), 0));
    colorScheme_ = schemeFrom(inner.get());
    if (changed_) changed_();
}

void TrayAppearance::onSettingChanged(GDBusConnection*, const char*, const char*, const char*, const char*,
                                      GVariant* params, gpointer data) {
    auto* self = static_cast<TrayAppearance*>(data);
    const char *ns = nullptr, *key = nullptr;
    GVariant* value = nullptr;
    g_variant_get(params, "(&s&sv)", &ns, &key, &value);
    if (std::strcmp(key, "color-scheme") == 0) self->colorScheme_ = schemeFrom(value);
    g_variant_unref(value);
    if (self->changed_) self->changed_();
}

std::optional<bool> TrayAppearance::barIsDark() const {
    if (const char* forced = std::getenv("OSTREL_TRAY_STYLE")) {
        if (std::strcmp(forced, "dark") == 0) return true;
        if (std::strcmp(forced, "light") == 0) return false;
    }
    if (colorScheme_ == 1u) return true;
    if (colorScheme_ == 2u) return false;
    GtkSettings* gs = gtk_settings_get_default();
    if (!gs) return std::nullopt; // GTK is not up: keep what we have
    gboolean preferDark = FALSE;
    char* theme = nullptr;
    g_object_get(gs, "gtk-application-prefer-dark-theme", &preferDark, "gtk-theme-name", &theme, nullptr);
    std::string name = theme ? theme : "";
    g_free(theme);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char ch) { return std::tolower(ch); });
    return preferDark || name.find("dark") != std::string::npos; // no match counts as light
}

} // namespace ostrel
