#include "model/usage_notifier.h"

#include "async/bounded_call.h"
#include "model/fmt.h"

namespace ostrel {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";
constexpr const char* appId = "app.ostrel.Ostrel"; // the desktop entry and the app icon
constexpr int callTimeoutMs = 5000;
// The key of a click on the notice itself, as the freedesktop notification protocol names it.
constexpr const char* defaultAction = "default";
constexpr const char* logInAction = "log-in";

constexpr std::chrono::milliseconds callTimeout{callTimeoutMs};

Task<GObjectPtr<GDBusConnection>> sessionBus() {
    auto out = co_await boundedCall([](GCancellable* c, GAsyncReadyCallback cb,
                                       gpointer ud) { g_bus_get(G_BUS_TYPE_SESSION, c, cb, ud); },
                                    callTimeout);
    co_return adopt(g_bus_get_finish(out.result.get(), nullptr));
}

Task<GVariantPtr> call(GDBusConnection* bus, const char* method, GVariant* params) {
    // The bus bounds the call itself; our bound is there for a bus that never answers at all.
    auto out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            g_dbus_connection_call(bus, service, path, service, method, params, nullptr,
                                   G_DBUS_CALL_FLAGS_NONE, callTimeoutMs, c, cb, ud);
        },
        callTimeout + std::chrono::seconds(1));
    // Failures are not ours to show: no reply is an empty answer.
    co_return GVariantPtr(g_dbus_connection_call_finish(bus, out.result.get(), nullptr));
}

std::string name(ProviderID id) {
    return std::string(displayName(id));
}

} // namespace

UsageNotifier::UsageNotifier(GDBusConnection* bus) : bus_(GObjectPtr<GDBusConnection>::ref(bus)) {
    if (bus_) listen(bus_.get());
}

UsageNotifier::~UsageNotifier() {
    tasks_.cancelAll();
    if (subscription_) g_dbus_connection_signal_unsubscribe(bus_.get(), subscription_);
}

void UsageNotifier::listen(GDBusConnection* bus) {
    // Both signals of the interface: the clicks, and the closings that end a notice's replacement.
    subscription_ =
        g_dbus_connection_signal_subscribe(bus, service, service, nullptr, path, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, &UsageNotifier::onSignal, this, nullptr);
}

void UsageNotifier::onSignal(GDBusConnection*, const char*, const char*, const char*, const char* signal,
                             GVariant* params, gpointer data) {
    auto* self = static_cast<UsageNotifier*>(data);
    const std::string what = signal;
    if (what == "ActionInvoked" && g_variant_is_of_type(params, G_VARIANT_TYPE("(us)"))) {
        guint32 id = 0;
        const char* key = nullptr;
        g_variant_get(params, "(u&s)", &id, &key);
        const auto it = self->serviceOf_.find(id);
        if (it == self->serviceOf_.end() || !it->second || !self->onAction_) return; // not one of ours
        const std::string action = key;
        if (action == defaultAction) self->onAction_(*it->second, Action::openPanel);
        if (action == logInAction) self->onAction_(*it->second, Action::logIn);
    } else if (what == "NotificationClosed" && g_variant_is_of_type(params, G_VARIANT_TYPE("(uu)"))) {
        guint32 id = 0, reason = 0;
        g_variant_get(params, "(uu)", &id, &reason);
        if (!self->serviceOf_.erase(id)) return;
        std::erase_if(self->shownOfKind_, [id](const auto& entry) { return entry.second == id; });
    }
}

Task<void> UsageNotifier::post(UsageNotifier* self, bool firstOfRun, Notice notice,
                               std::shared_ptr<AsyncEvent> previous, std::shared_ptr<AsyncEvent> done) {
    // Each post waits for the one before it: notifications arrive in the order they were made, and
    // one that replaces another knows the other's id.
    if (previous) co_await previous->wait();
    if (!self->bus_) {
        self->bus_ = co_await sessionBus();
        if (self->bus_ && !self->subscription_) self->listen(self->bus_.get());
    }
    if (self->bus_) {
        if (firstOfRun) co_await call(self->bus_.get(), "GetCapabilities", nullptr); // the one-time set-up
        GVariantBuilder hints;
        g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&hints, "{sv}", "sound-name", g_variant_new_string("message-new-instant"));
        g_variant_builder_add(&hints, "{sv}", "urgency", g_variant_new_byte(1));
        // Desktops show and group notifications under the app that the desktop entry names.
        g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string(appId));
        GVariantBuilder actions;
        g_variant_builder_init(&actions, G_VARIANT_TYPE_STRING_ARRAY);
        if (notice.service) {
            g_variant_builder_add(&actions, "s", defaultAction);
            g_variant_builder_add(&actions, "s", "Show usage");
        }
        for (const auto& [key, label] : notice.buttons) {
            g_variant_builder_add(&actions, "s", key.c_str());
            g_variant_builder_add(&actions, "s", label.c_str());
        }
        const auto shown = self->shownOfKind_.find(notice.kind);
        const guint32 replaces = shown == self->shownOfKind_.end() ? 0 : shown->second;
        // The icon is the installed app icon's name (the desktop entry's Icon=).
        GVariant* params = g_variant_new("(susssasa{sv}i)", "Ostrel", replaces, appId, notice.title.c_str(),
                                         notice.body.c_str(), &actions, &hints, -1);
        GVariantPtr reply = co_await call(self->bus_.get(), "Notify", params);
        if (reply && g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(u)"))) {
            guint32 id = 0;
            g_variant_get(reply.get(), "(u)", &id);
            if (replaces && replaces != id) self->serviceOf_.erase(replaces);
            self->shownOfKind_[notice.kind] = id;
            self->serviceOf_[id] = notice.service;
        }
    }
    done->set();
}

void UsageNotifier::send(Notice notice) {
    const bool first = !setUpDone_;
    setUpDone_ = true;
    auto done = std::make_shared<AsyncEvent>();
    tasks_.spawn(post(this, first, std::move(notice), std::exchange(lastPost_, done), done));
}

// Kinds: a service's usage notices replace each other, as do its login notices and its pace warnings.

void UsageNotifier::notifyBelow50(ProviderID id, const UsageLimit& limit) {
    send({"usage-" + name(id),
          id,
          name(id) + ": " + Fmt::percent(limit.percentLeft()) + " left",
          limit.title + " has dropped below 50%.",
          {}});
}

void UsageNotifier::notifyBelow10(ProviderID id, const UsageLimit& limit) {
    send({"usage-" + name(id),
          id,
          name(id) + ": " + Fmt::percent(limit.percentLeft()) + " left",
          limit.title + " is almost gone.",
          {}});
}

void UsageNotifier::notifyReset(ProviderID id, const UsageLimit& limit) {
    send({"usage-" + name(id), id, name(id) + " reset", limit.title + " is back to 100%.", {}});
}

void UsageNotifier::notifyLoginExpired(ProviderID id) {
    send({"login-" + name(id),
          id,
          name(id) + " logged out",
          "Ostrel stopped tracking usage. Log in again to resume.",
          {{logInAction, "Log in"}}});
}

void UsageNotifier::notifyLoginExpiring(ProviderID id, int days) {
    send({"login-" + name(id),
          id,
          name(id) + " login expires in " + std::to_string(days) + (days == 1 ? " day" : " days"),
          "Log in again to keep tracking.",
          {{logInAction, "Log in"}}});
}

void UsageNotifier::notifyPace(ProviderID id, const std::string& text) {
    send({"pace-" + name(id), id, text, "Judged from your use over the last 45 minutes.", {}});
}

} // namespace ostrel
