#include "app/status_cli.h"

#include "app/status_service.h"
#include "async/bounded_call.h"
#include "async/loop.h"
#include "async/task_group.h"
#include "base/gobject_ptr.h"

#include <functional>
#include <memory>
#include <ostream>

namespace ostrel {

using namespace std::chrono_literals;

namespace {

constexpr int callTimeoutMs = 3000;

enum class Answer { ok, notRunning, failed };

struct Reply {
    Answer answer = Answer::failed;
    std::string value; // the property, or what went wrong
};

Task<GObjectPtr<GDBusConnection>> sessionBus() {
    auto out = co_await boundedCall([](GCancellable* c, GAsyncReadyCallback cb,
                                       gpointer ud) { g_bus_get(G_BUS_TYPE_SESSION, c, cb, ud); },
                                    std::chrono::milliseconds(callTimeoutMs));
    co_return adopt(g_bus_get_finish(out.result.get(), nullptr));
}

Task<Reply> readProperty(GDBusConnection* bus, std::string busName, std::string property) {
    auto out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            // No auto-start: asking for the status must never launch the app.
            g_dbus_connection_call(bus, busName.c_str(), statusObjectPath, "org.freedesktop.DBus.Properties",
                                   "Get", g_variant_new("(ss)", statusInterface, property.c_str()),
                                   G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, callTimeoutMs, c,
                                   cb, ud);
        },
        std::chrono::milliseconds(callTimeoutMs));
    GErrorOut err;
    GVariantPtr reply(g_dbus_connection_call_finish(bus, out.result.get(), err.out()));
    if (!reply) {
        const GError* e = err.get();
        const bool absent =
            e && e->domain == G_DBUS_ERROR &&
            (e->code == G_DBUS_ERROR_SERVICE_UNKNOWN || e->code == G_DBUS_ERROR_NAME_HAS_NO_OWNER);
        co_return Reply{absent ? Answer::notRunning : Answer::failed, err.message()};
    }
    GVariant* boxed = nullptr;
    g_variant_get(reply.get(), "(v)", &boxed);
    GVariantPtr value(boxed);
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING))
        co_return Reply{Answer::failed, "not a string"};
    co_return Reply{Answer::ok, g_variant_get_string(value.get(), nullptr)};
}

const char* propertyFor(StatusRequest::Format f) {
    switch (f) {
    case StatusRequest::Format::text:
        return "Text";
    case StatusRequest::Format::json:
        return "Json";
    case StatusRequest::Format::waybar:
        return "Waybar";
    }
    return "Text";
}

int report(const Reply& r, std::ostream& err) {
    if (r.answer == Answer::notRunning) {
        err << "Ostrel is not running\n";
        return statusNotRunning;
    }
    err << "ostrel: could not read the status: " << r.value << "\n";
    return 1;
}

// A D-Bus signal subscription, dropped with the object.
class Subscription {
  public:
    Subscription(GDBusConnection* bus, const char* sender, const char* iface, const char* member,
                 const char* path, const char* arg0, GDBusSignalCallback callback, gpointer data)
        : bus_(bus),
          id_(g_dbus_connection_signal_subscribe(bus, sender, iface, member, path, arg0,
                                                 G_DBUS_SIGNAL_FLAGS_NONE, callback, data, nullptr)) {}
    ~Subscription() { g_dbus_connection_signal_unsubscribe(bus_, id_); }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

  private:
    GDBusConnection* bus_;
    unsigned id_;
};

// What the follower waits for: a change, the app going away, or being told to stop.
struct FollowState {
    bool changed = false;
    bool gone = false;
    std::shared_ptr<AsyncEvent> wake = std::make_shared<AsyncEvent>();
    void poke() { wake->set(); }
};

void onChanged(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
               gpointer data) {
    auto* s = static_cast<FollowState*>(data);
    s->changed = true;
    s->poke();
}

void onOwnerChanged(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* params,
                    gpointer data) {
    const char *name = nullptr, *oldOwner = nullptr, *newOwner = nullptr;
    g_variant_get(params, "(&s&s&s)", &name, &oldOwner, &newOwner);
    if (newOwner && *newOwner) return;
    auto* s = static_cast<FollowState*>(data);
    s->gone = true;
    s->poke();
}

// The stop signal comes while the canceller is still inside the cancellable, where the follower
// may not finish (disconnecting there would wait for itself): it wakes from an idle callback.
void onStop(GCancellable*, gpointer data) {
    auto held =
        std::make_unique<std::shared_ptr<FollowState>>(*static_cast<std::shared_ptr<FollowState>*>(data));
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        +[](gpointer p) -> gboolean {
            (*static_cast<std::shared_ptr<FollowState>*>(p))->poke();
            return G_SOURCE_REMOVE;
        },
        held.release(), +[](gpointer p) { delete static_cast<std::shared_ptr<FollowState>*>(p); });
}

Task<int> follow(GDBusConnection* bus, StatusRequest request, std::ostream& out, std::ostream& err,
                 GCancellable* stop) {
    auto shared = std::make_shared<FollowState>();
    FollowState& state = *shared;
    // Subscribe before the first read, so a change in between is not missed.
    Subscription changes(bus, request.busName.c_str(), statusInterface, "Changed", statusObjectPath, nullptr,
                         onChanged, &state);
    Subscription owner(bus, "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                       "/org/freedesktop/DBus", request.busName.c_str(), onOwnerChanged, &state);
    gulong stopHandler = stop ? g_cancellable_connect(stop, G_CALLBACK(onStop), &shared, nullptr) : 0;
    const char* property = propertyFor(request.format);
    std::string last;
    int status = 0;
    for (bool first = true;; first = false) {
        if (first || state.changed) {
            state.changed = false;
            const Reply r = co_await readProperty(bus, request.busName, property);
            if (r.answer != Answer::ok) {
                status = report(r, err);
                break;
            }
            if (r.value != last) {
                out << r.value << std::endl; // a bar reads line by line, as they come
                last = r.value;
            }
        }
        if (state.gone) {
            err << "Ostrel is not running\n";
            status = statusNotRunning;
            break;
        }
        if (stop && g_cancellable_is_cancelled(stop)) break;
        if (!state.changed) {
            co_await state.wake->wait();
            state.wake = std::make_shared<AsyncEvent>();
        }
    }
    if (stopHandler) g_cancellable_disconnect(stop, stopHandler);
    co_return status;
}

Task<int> run(StatusRequest request, GObjectPtr<GDBusConnection> bus, std::ostream& out, std::ostream& err,
              GCancellable* stop) {
    if (!bus) bus = co_await sessionBus();
    if (!bus) {
        err << "Ostrel is not running\n"; // no session bus: no instance can be reached
        co_return statusNotRunning;
    }
    if (request.follow) co_return co_await follow(bus.get(), request, out, err, stop);
    const Reply r = co_await readProperty(bus.get(), request.busName, propertyFor(request.format));
    if (r.answer != Answer::ok) co_return report(r, err);
    out << r.value << "\n";
    co_return 0;
}

Task<void> runInto(Task<int> task, std::shared_ptr<std::optional<int>> status) {
    *status = co_await std::move(task);
}

} // namespace

std::optional<StatusRequest> parseStatusArgs(const std::vector<std::string>& args, std::string& error) {
    StatusRequest r;
    for (const std::string& a : args) {
        if (a == "--json")
            r.format = StatusRequest::Format::json;
        else if (a == "--waybar")
            r.format = StatusRequest::Format::waybar;
        else if (a == "--follow")
            r.follow = true;
        else {
            error = "unknown status option " + a;
            return std::nullopt;
        }
    }
    return r;
}

namespace {

// The command is a plain program driving one task: it runs the main context itself, until the task
// is done or the time is up.
bool iterateUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    bool expired = false;
    SourceId timer(g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(timeout.count()),
        [](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &expired, nullptr));
    while (!done() && !expired)
        g_main_context_iteration(nullptr, TRUE);
    if (expired) timer.forget();
    return done();
}

} // namespace

int runStatus(const StatusRequest& request, GDBusConnection* bus, std::ostream& out, std::ostream& err,
              GCancellable* stop) {
    auto status = std::make_shared<std::optional<int>>();
    TaskGroup tasks; // a task still waiting when the time is up ends with the command
    tasks.spawn(runInto(run(request, GObjectPtr<GDBusConnection>::ref(bus), out, err, stop), status));
    if (request.follow) {
        // Until the app goes away or the caller stops it: a bar's continuous mode.
        while (!*status)
            iterateUntil([&] { return status->has_value(); }, std::chrono::hours(24));
        return **status;
    }
    // Connecting and one bounded call fit well within this.
    if (!iterateUntil([&] { return status->has_value(); }, std::chrono::milliseconds(3 * callTimeoutMs))) {
        err << "ostrel: Ostrel did not answer in time\n";
        return 1;
    }
    return **status;
}

} // namespace ostrel
