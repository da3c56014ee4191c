#include "tray/tray_item.h"

#include "async/bounded_call.h"
#include "async/loop.h"
#include "base/log.h"
#include "tray/tray_dbus.h"

#include <algorithm>
#include <string_view>
#include <unistd.h>

namespace ostrel {

namespace {

using namespace std::chrono_literals;

constexpr const char* itemInterface = "org.kde.StatusNotifierItem";
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";
constexpr auto callBound = 5s;
// How long after taking the item the watcher has to list it.
constexpr auto listedCheck = 1500ms;
// Pauses between attempts grow from the first to the last.
constexpr auto firstPause = 1s;
constexpr auto lastPause = 60s;
// Taken but never listed this many times in a row: the watcher lists items in a way of its own,
// and the item stays as it is.
constexpr int unlistedAttempts = 5;
// How long an item waits for the one it registers after.
constexpr auto orderBound = 3s;

} // namespace

TrayItem::TrayItem(GDBusConnection* bus, GActionGroup* actions, int index, bool ownConnection)
    : actions_(GObjectPtr<GActionGroup>::ref(actions)), index_(index) {
    if (index_ > 1 || ownConnection) {
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
        g_dbus_connection_register_object(bus_.get(), path, info, &vtable, this, nullptr, nullptr);
    menu_ = std::make_unique<TrayMenu>(bus_.get(), actions_.get());
    // The well-known name is for hosts that look items up by name; the registration does not need it.
    ownerId_ = g_bus_own_name_on_connection(bus_.get(), busName_.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE,
                                            nullptr, nullptr, nullptr, nullptr);
    unregisteredId_ = g_dbus_connection_signal_subscribe(
        bus_.get(), watcherName, watcherName, "StatusNotifierItemUnregistered", watcherPath, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, &TrayItem::onUnregistered, this, nullptr);
    watch();
}

TrayItem::~TrayItem() {
    tasks_.cancelAll();
    g_cancellable_cancel(cancel_.get());
    if (unregisteredId_) g_dbus_connection_signal_unsubscribe(bus_.get(), unregisteredId_);
    if (watchId_) g_bus_unwatch_name(watchId_);
    if (ownerId_) g_bus_unown_name(ownerId_);
    if (registration_) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

void TrayItem::watch() {
    // Called again when the owner changes (vanished, then appeared): the new one gets the item.
    watchId_ = g_bus_watch_name_on_connection(
        bus_.get(), watcherName, G_BUS_NAME_WATCHER_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, gpointer self) {
            auto* item = static_cast<TrayItem*>(self);
            item->watcherPresent_ = true;
            item->startRegistering();
        },
        [](GDBusConnection*, const char*, gpointer data) {
            auto* self = static_cast<TrayItem*>(data);
            self->tasks_.cancelAll();
            self->registered_ = false;
            self->watcherPresent_ = false;
            if (!self->toldNoWatcher_ && self->index_ == 1) {
                self->toldNoWatcher_ = true;
                log("No system tray found (no StatusNotifierWatcher on the session bus); Ostrel keeps "
                    "running and shows its panel as a window");
            }
        },
        this, nullptr);
}

void TrayItem::startRegistering(std::chrono::milliseconds delay) {
    tasks_.cancelAll();
    registered_ = false;
    tasks_.spawn(keepRegistered(this, delay));
}

bool TrayItem::namesMe(const std::string& entry) const {
    const char* unique = g_dbus_connection_get_unique_name(bus_.get());
    for (const std::string& me : {std::string(unique ? unique : ""), busName_})
        if (!me.empty() && (entry == me || entry.rfind(me + "/", 0) == 0)) return true;
    return false;
}

void TrayItem::onUnregistered(GDBusConnection*, const char*, const char*, const char*, const char*,
                              GVariant* params, gpointer data) {
    auto* self = static_cast<TrayItem*>(data);
    if (!g_variant_is_of_type(params, G_VARIANT_TYPE("(s)"))) return;
    const char* entry = nullptr;
    g_variant_get(params, "(&s)", &entry);
    if (!self->namesMe(entry)) return;
    log("The system tray dropped the item; registering it again");
    // A moment's pause: a host that dropped it while setting itself up gets time to finish.
    self->startRegistering(500ms);
}

Task<std::optional<bool>> TrayItem::listed(TrayItem* self) {
    GDBusConnection* bus = self->bus_.get();
    auto out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            g_dbus_connection_call(bus, watcherName, watcherPath, "org.freedesktop.DBus.Properties", "Get",
                                   g_variant_new("(ss)", watcherName, "RegisteredStatusNotifierItems"),
                                   G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE,
                                   static_cast<int>(std::chrono::milliseconds(callBound).count()), c, cb, ud);
        },
        callBound);
    GVariantPtr reply(g_dbus_connection_call_finish(bus, out.result.get(), nullptr));
    if (!reply) co_return std::nullopt;
    GVariant* boxed = nullptr;
    g_variant_get(reply.get(), "(v)", &boxed);
    GVariantPtr entries(boxed);
    if (!g_variant_is_of_type(entries.get(), G_VARIANT_TYPE_STRING_ARRAY)) co_return std::nullopt;
    GVariantIter iter;
    g_variant_iter_init(&iter, entries.get());
    const char* entry = nullptr;
    while (g_variant_iter_next(&iter, "&s", &entry))
        if (self->namesMe(entry) || std::string_view(entry) == path) co_return true;
    co_return false;
}

Task<void> TrayItem::keepRegistered(TrayItem* self, std::chrono::milliseconds delay) {
    if (delay.count() > 0) co_await sleepFor(delay);
    for (auto waited = 0ms; self->registerAfter_ && !self->registerAfter_() && waited < orderBound;
         waited += 100ms)
        co_await sleepFor(100ms);
    GDBusConnection* bus = self->bus_.get();
    std::chrono::milliseconds pause = firstPause;
    bool saidRefused = false;
    for (int unlisted = 0; unlisted < unlistedAttempts;) {
        auto out = co_await boundedCall(
            [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
                g_dbus_connection_call(
                    bus, watcherName, watcherPath, watcherName, "RegisterStatusNotifierItem",
                    g_variant_new("(s)", path), nullptr, G_DBUS_CALL_FLAGS_NONE,
                    static_cast<int>(std::chrono::milliseconds(callBound).count()), c, cb, ud);
            },
            callBound);
        GErrorOut err;
        GVariantPtr reply(g_dbus_connection_call_finish(bus, out.result.get(), err.out()));
        if (reply) {
            self->registered_ = true;
            if (self->onRegistered) self->onRegistered();
            co_await sleepFor(listedCheck);
            const std::optional<bool> there = co_await listed(self);
            if (!there || *there) co_return;
            self->registered_ = false;
            ++unlisted;
            log("The system tray took the item but does not list it; registering it again");
        } else if (!std::exchange(saidRefused, true)) {
            log("The system tray did not take the item: " + err.message() + "; trying again");
        }
        co_await sleepFor(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(lastPause));
    }
}

void TrayItem::emit(const char* signal, GVariant* params) {
    if (!bus_) return;
    g_dbus_connection_emit_signal(bus_.get(), nullptr, path, itemInterface, signal, params, nullptr);
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
    if (name == "Title") return g_variant_new_string((titlePrefix_ + title_).c_str());
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
