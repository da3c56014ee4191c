#include "tray/tray_item.h"

#include "base/log.h"
#include "tray/tray_dbus.h"

#include <unistd.h>

namespace ostrel {

namespace {

constexpr const char* itemPath = "/StatusNotifierItem";
constexpr const char* itemInterface = "org.kde.StatusNotifierItem";
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";

} // namespace

TrayItem::TrayItem(GDBusConnection* bus, GActionGroup* actions, int index)
    : actions_(GObjectPtr<GActionGroup>::ref(actions)), index_(index) {
    if (index_ > 1) {
        // Hosts find an item at a fixed object path, so each further item needs a connection of
        // its own to the same session bus.
        GCharPtr address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        if (address)
            bus_ = adopt(g_dbus_connection_new_for_address_sync(
                address.get(),
                static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                  G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                nullptr, nullptr, nullptr));
    } else {
        bus_ = bus ? GObjectPtr<GDBusConnection>::ref(bus)
                   : adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    }
    if (!bus_) {
        log("No session bus: there is no tray item; start Ostrel again to open its panel");
        return;
    }
    GDBusInterfaceInfo* info = trayInterface(itemInterface);
    if (!info) return; // said where it was read
    busName_ = std::string(itemInterface) + "-" + std::to_string(getpid()) + "-" + std::to_string(index_);
    static const GDBusInterfaceVTable vtable{&TrayItem::onMethod, &TrayItem::onGetProperty, nullptr, {}};
    registration_ =
        g_dbus_connection_register_object(bus_.get(), itemPath, info, &vtable, this, nullptr, nullptr);
    menu_ = std::make_unique<TrayMenu>(bus_.get(), actions_.get());
    ownerId_ = g_bus_own_name_on_connection(bus_.get(), busName_.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE,
                                            nullptr, nullptr, nullptr, nullptr);
    watch();
}

TrayItem::~TrayItem() {
    g_cancellable_cancel(cancel_.get());
    if (watchId_) g_bus_unwatch_name(watchId_);
    if (ownerId_) g_bus_unown_name(ownerId_);
    if (registration_) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

void TrayItem::watch() {
    watchId_ = g_bus_watch_name_on_connection(
        bus_.get(), watcherName, G_BUS_NAME_WATCHER_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, gpointer self) {
            static_cast<TrayItem*>(self)->registerWithWatcher();
        },
        [](GDBusConnection*, const char*, gpointer data) {
            auto* self = static_cast<TrayItem*>(data);
            self->registered_ = false;
            if (!self->toldNoWatcher_ && self->index_ == 1) {
                self->toldNoWatcher_ = true;
                log("No system tray found (no StatusNotifierWatcher on the session bus); Ostrel keeps "
                    "running: start it again to open its panel");
            }
        },
        this, nullptr);
}

void TrayItem::registerWithWatcher() {
    // Hosts look the item up by its unique bus name or well-known name; the well-known one is ours.
    g_dbus_connection_call(
        bus_.get(), watcherName, "/StatusNotifierWatcher", watcherName, "RegisterStatusNotifierItem",
        g_variant_new("(s)", busName_.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, cancel_.get(),
        [](GObject* source, GAsyncResult* res, gpointer data) {
            GErrorOut err;
            GVariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), res, err.out()));
            if (err.matches(G_IO_ERROR, G_IO_ERROR_CANCELLED)) return; // the item is gone
            auto* self = static_cast<TrayItem*>(data);
            if (!reply) {
                log("The system tray did not take the item: " + err.message());
                return;
            }
            self->registered_ = true;
            if (self->onRegistered) self->onRegistered();
        },
        this);
}

void TrayItem::emit(const char* signal, GVariant* params) {
    if (!bus_) return;
    g_dbus_connection_emit_signal(bus_.get(), nullptr, itemPath, itemInterface, signal, params, nullptr);
}

void TrayItem::update(std::vector<TrayPixmap> pixmaps, std::string title, std::string label) {
    pixmaps_ = std::move(pixmaps);
    const bool titleChanged = title != title_, labelChanged = label != label_;
    title_ = std::move(title);
    label_ = std::move(label);
    emit("NewIcon");
    if (titleChanged) {
        emit("NewTitle");
        emit("NewToolTip");
    }
    if (labelChanged) emit("XAyatanaNewLabel", g_variant_new("(ss)", label_.c_str(), ""));
}

GVariant* TrayItem::property(const std::string& name) const {
    if (name == "Category") return g_variant_new_string("ApplicationStatus");
    if (name == "Id") return g_variant_new_string("ostrel");
    if (name == "Title") return g_variant_new_string(title_.c_str());
    if (name == "Status") return g_variant_new_string("Active");
    if (name == "WindowId") return g_variant_new_int32(0);
    if (name == "IconName" || name == "OverlayIconName" || name == "AttentionIconName")
        return g_variant_new_string("");
    if (name == "ItemIsMenu") return g_variant_new_boolean(FALSE);
    if (name == "Menu") return g_variant_new_object_path(TrayMenu::path);
    if (name == "XAyatanaLabel") return g_variant_new_string(label_.c_str());
    if (name == "XAyatanaLabelGuide") return g_variant_new_string("");
    if (name == "IconPixmap") {
        GVariantBuilder b;
        g_variant_builder_init(&b, G_VARIANT_TYPE("a(iiay)"));
        for (const TrayPixmap& p : pixmaps_) {
            GVariant* bytes = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, p.argb.data(), p.argb.size(), 1);
            g_variant_builder_add(&b, "(ii@ay)", p.width, p.height, bytes);
        }
        return g_variant_builder_end(&b);
    }
    if (name == "ToolTip") // the spoken text, with no picture of its own
        return g_variant_new("(s@a(iiay)ss)", "", g_variant_new_array(G_VARIANT_TYPE("(iiay)"), nullptr, 0),
                             title_.c_str(), "");
    return nullptr;
}

GVariant* TrayItem::onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                  const char* property, GError** error, gpointer self) {
    GVariant* v = static_cast<TrayItem*>(self)->property(property);
    if (!v) g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_PROPERTY, "No property %s", property);
    return v;
}

void TrayItem::onMethod(GDBusConnection*, const char*, const char*, const char*, const char* method,
                        GVariant* params, GDBusMethodInvocation* invocation, gpointer self) {
    const std::string name = method;
    const bool activate = name == "Activate" || name == "SecondaryActivate";
    gint32 x = 0, y = 0;
    if (activate) g_variant_get(params, "(ii)", &x, &y);
    // Answer first (that ends `params`): opening the panel may take a while, and the host waits.
    g_dbus_method_invocation_return_value(invocation, nullptr);
    if (activate) {
        auto* item = static_cast<TrayItem*>(self);
        const GObjectPtr<GActionGroup> actions = item->actions_; // may outlive us
        activateTrayAction(actions.get(), "toggle-panel-at",
                           g_variant_new("(sii)", item->service_.c_str(), x, y));
    }
    // The context menu is served through the exported menu; scrolling does nothing.
}

} // namespace ostrel
