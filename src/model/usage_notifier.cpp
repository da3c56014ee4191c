#include "model/usage_notifier.h"

#include "async/bounded_call.h"
#include "model/fmt.h"

namespace ostrel {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";
constexpr const char* appId = "app.ostrel.Ostrel"; // the desktop entry and the app icon
constexpr int callTimeoutMs = 5000;

constexpr std::chrono::milliseconds callTimeout{callTimeoutMs};

Task<GObjectPtr<GDBusConnection>> sessionBus() {
    auto out = co_await boundedCall([](GCancellable* c, GAsyncReadyCallback cb,
                                       gpointer ud) { g_bus_get(G_BUS_TYPE_SESSION, c, cb, ud); },
                                    callTimeout);
    co_return adopt(g_bus_get_finish(out.result.get(), nullptr));
}

Task<void> call(GDBusConnection* bus, const char* method, GVariant* params) {
    // The bus bounds the call itself; our bound is there for a bus that never answers at all.
    auto out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            g_dbus_connection_call(bus, service, path, service, method, params, nullptr,
                                   G_DBUS_CALL_FLAGS_NONE, callTimeoutMs, c, cb, ud);
        },
        callTimeout + std::chrono::seconds(1));
    GVariantPtr reply(
        g_dbus_connection_call_finish(bus, out.result.get(), nullptr)); // failures are not ours to show
}

Task<void> postNow(GObjectPtr<GDBusConnection> bus, bool firstOfRun, std::string title, std::string body) {
    if (!bus) bus = co_await sessionBus();
    if (!bus) co_return;
    if (firstOfRun) co_await call(bus.get(), "GetCapabilities", nullptr); // the one-time set-up
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&hints, "{sv}", "sound-name", g_variant_new_string("message-new-instant"));
    g_variant_builder_add(&hints, "{sv}", "urgency", g_variant_new_byte(1));
    // Desktops show and group notifications under the app that the desktop entry names.
    g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string(appId));
    // replaces_id 0: the service gives every notification a fresh id, so none replaces another. The
    // icon is the installed app icon's name (the desktop entry's Icon=).
    GVariant* params = g_variant_new("(susssasa{sv}i)", "Ostrel", 0u, appId, title.c_str(), body.c_str(),
                                     nullptr, &hints, -1);
    co_await call(bus.get(), "Notify", params);
}

// Posting runs on its own; the notifier may be asked again before an earlier post has finished,
// so each post waits for the one before it: notifications arrive in the order they were made.
Task<void> post(GObjectPtr<GDBusConnection> bus, bool firstOfRun, std::string title, std::string body,
                std::shared_ptr<AsyncEvent> previous, std::shared_ptr<AsyncEvent> done) {
    if (previous) co_await previous->wait();
    co_await postNow(std::move(bus), firstOfRun, std::move(title), std::move(body));
    done->set();
}

} // namespace

void UsageNotifier::send(const std::string& title, const std::string& body) {
    const bool first = !setUpDone_;
    setUpDone_ = true;
    auto done = std::make_shared<AsyncEvent>();
    tasks_.spawn(post(bus_, first, title, body, std::exchange(lastPost_, done), done));
}

void UsageNotifier::notifyBelow50(ProviderID id, const UsageLimit& limit) {
    send(std::string(displayName(id)) + ": " + Fmt::percent(limit.percentLeft()) + " left",
         limit.title + " has dropped below 50%.");
}

void UsageNotifier::notifyBelow10(ProviderID id, const UsageLimit& limit) {
    send(std::string(displayName(id)) + ": " + Fmt::percent(limit.percentLeft()) + " left",
         limit.title + " is almost gone.");
}

void UsageNotifier::notifyReset(ProviderID id, const UsageLimit& limit) {
    send(std::string(displayName(id)) + " reset", limit.title + " is back to 100%.");
}

void UsageNotifier::notifyLoginExpired(ProviderID id) {
    send(std::string(displayName(id)) + " logged out",
         "Ostrel stopped tracking usage. Log in again to resume.");
}

void UsageNotifier::notifyLoginExpiring(ProviderID id, int days) {
    send(std::string(displayName(id)) + " login expires in " + std::to_string(days) +
             (days == 1 ? " day" : " days"),
         "Log in again to keep tracking.");
}

void UsageNotifier::notifyPace(const std::string& text) {
    send(text, "Judged from your use over the last 45 minutes.");
}

} // namespace ostrel
