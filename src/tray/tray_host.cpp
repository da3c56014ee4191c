#include "tray/tray_host.h"

#include "async/bounded_call.h"
#include "base/log.h"

#include <fstream>

namespace ostrel {

using namespace std::chrono_literals;

TrayHost::TrayHost(GDBusConnection* bus) : bus_(GObjectPtr<GDBusConnection>::ref(bus)) {
    if (!bus_) {
        settled_ = true;
        return;
    }
    watchId_ = g_bus_watch_name_on_connection(
        bus_.get(), "org.kde.StatusNotifierWatcher", G_BUS_NAME_WATCHER_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char* owner, gpointer self) {
            auto* host = static_cast<TrayHost*>(self);
            host->tasks_.cancelAll(); // an earlier owner's answer no longer matters
            host->tasks_.spawn(lookUp(host, owner));
        },
        [](GDBusConnection*, const char*, gpointer self) {
            auto* host = static_cast<TrayHost*>(self);
            host->tasks_.cancelAll();
            host->setName("");
        },
        this, nullptr);
}

TrayHost::~TrayHost() {
    if (watchId_) g_bus_unwatch_name(watchId_);
}

Task<void> TrayHost::lookUp(TrayHost* self, std::string owner) {
    GDBusConnection* bus = self->bus_.get();
    auto out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            g_dbus_connection_call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                                   g_variant_new("(s)", owner.c_str()), G_VARIANT_TYPE("(u)"),
                                   G_DBUS_CALL_FLAGS_NONE, 5000, c, cb, ud);
        },
        5s);
    GErrorOut err;
    GVariantPtr reply(g_dbus_connection_call_finish(bus, out.result.get(), err.out()));
    std::string name;
    if (reply) {
        guint32 pid = 0;
        g_variant_get(reply.get(), "(u)", &pid);
        std::ifstream("/proc/" + std::to_string(pid) + "/comm") >> name; // a host in another sandbox: ""
    }
    log("Tray host: " + (name.empty() ? std::string("unknown") : name));
    self->setName(std::move(name));
}

void TrayHost::setName(std::string name) {
    if (settled_ && name == name_) return;
    settled_ = true;
    name_ = std::move(name);
    changed.emit();
}

} // namespace ostrel
