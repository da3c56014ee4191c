#include "app/status_cli.h"

#include "app/status_service.h"
#include "async/bounded_call.h"
#include "async/loop.h"
#include "async/task_group.h"
#include "base/gobject_ptr.h"

#include <functional>
#include <glib-unix.h>
#include <memory>
#include <ostream>
#include <string_view>

namespace ostrel {

using namespace std::chrono_literals;

namespace {

constexpr int callTimeoutMs = 3000;
// How soon a follower asks again while the app is starting (its name is there, its status object
// not yet), and after a read that failed.
constexpr auto startingRetry = 250ms;
constexpr auto failedRetry = 2s;
// A follower reads again at least this often, so a lost signal costs a minute at most.
constexpr auto heartbeat = 60s;

enum class Answer { ok, notRunning, starting, failed };

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

Answer judge(const GError* e) {
    if (!e || e->domain != G_DBUS_ERROR) return Answer::failed;
    switch (e->code) {
    case G_DBUS_ERROR_SERVICE_UNKNOWN:
    case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
        return Answer::notRunning;
    // The app takes its name before its status object is there: for a moment at every start the
    // name answers but the object does not.
    case G_DBUS_ERROR_UNKNOWN_METHOD:
    case G_DBUS_ERROR_UNKNOWN_OBJECT:
    case G_DBUS_ERROR_UNKNOWN_INTERFACE:
        return Answer::starting;
    default:
        return Answer::failed;
    }
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
        if (err.get() && g_dbus_error_is_remote_error(err.get()) &&
            std::string_view(GCharPtr(g_dbus_error_get_remote_error(err.get())).get()) == statusStartingError)
            co_return Reply{Answer::starting, err.message()};
        co_return Reply{judge(err.get()), err.message()};
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
    switch (r.answer) {
    case Answer::notRunning:
        err << "Ostrel is not running\n";
        return statusNotRunning;
    case Answer::starting:
        err << "Ostrel is starting\n";
        return statusNotRunning;
    case Answer::ok:
    case Answer::failed:
        break;
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

// What the follower waits for: a change (or the app's return, or time to ask again), the app going
// away, its reader going away, or being told to stop.
struct FollowState {
    bool changed = false;
    bool gone = false;
    bool readerGone = false;
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
    auto* s = static_cast<FollowState*>(data);
    if (newOwner && *newOwner)
        s->changed = true; // back (or handed over): read the fresh numbers
    else
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

// The line a follower prints while the app is away, in the requested format.
const char* awayLine(StatusRequest::Format f) {
    switch (f) {
    case StatusRequest::Format::text:
        return "Ostrel is not running";
    case StatusRequest::Format::json:
        return R"({"running": false, "services": []})";
    case StatusRequest::Format::waybar:
        return R"({"text": "Ostrel off", "tooltip": "Ostrel is not running", "class": "not-running", "alt": "not-running"})";
    }
    return "Ostrel is not running";
}

// A bar reads line by line, as they come; false when the line could not be written (the reader
// went away).
bool writeLine(std::ostream& out, std::string_view line) {
    out << line << '\n';
    out.flush();
    return static_cast<bool>(out);
}

// The streams are the caller's, which outlive the command (pointers: a coroutine keeps no references).
Task<int> follow(GDBusConnection* bus, StatusRequest request, std::ostream* out, std::ostream* err,
                 GCancellable* stop) {
    auto shared = std::make_shared<FollowState>();
    FollowState& state = *shared;
    // Subscribe before the first read, so a change in between is not missed.
    Subscription changes(bus, request.busName.c_str(), statusInterface, "Changed", statusObjectPath, nullptr,
                         onChanged, &state);
    Subscription owner(bus, "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                       "/org/freedesktop/DBus", request.busName.c_str(), onOwnerChanged, &state);
    gulong stopHandler = stop ? g_cancellable_connect(stop, G_CALLBACK(onStop), &shared, nullptr) : 0;
    // A pipe whose reader closed reports an error at once, before there is a line to write.
    SourceId readerWatch;
    if (request.outputFd >= 0)
        readerWatch = SourceId(g_unix_fd_add(
            request.outputFd, static_cast<GIOCondition>(G_IO_ERR | G_IO_HUP),
            +[](int, GIOCondition, gpointer data) -> gboolean {
                auto* s = static_cast<FollowState*>(data);
                s->readerGone = true;
                s->poke();
                return G_SOURCE_CONTINUE; // removed with the watch
            },
            &state));
    const char* property = propertyFor(request.format);
    std::string last;
    bool away = false; // the away line is the last one printed
    int status = 0;
    auto sayAway = [&] {
        if (away) return true;
        away = true;
        last.clear(); // the numbers are printed again when the app is back
        return writeLine(*out, awayLine(request.format));
    };
    for (bool read = true;;) {
        std::chrono::milliseconds next = heartbeat;
        if (state.gone) {
            state.gone = false;
            if (!sayAway()) state.readerGone = true;
        }
        if ((read || state.changed) && !state.readerGone) {
            state.changed = false;
            const Reply r = co_await readProperty(bus, request.busName, property);
            bool written = true;
            if (r.answer == Answer::ok) {
                away = false;
                if (r.value != last) written = writeLine(*out, r.value);
                last = r.value;
            } else {
                written = sayAway();
                if (r.answer == Answer::starting) next = startingRetry;
                if (r.answer == Answer::failed) next = failedRetry;
            }
            if (!written) state.readerGone = true;
        }
        if (state.readerGone) {
            *err << "ostrel: the status could not be written; its reader went away\n";
            status = 1;
            break;
        }
        if (stop && g_cancellable_is_cancelled(stop)) break;
        read = false;
        if (state.changed || state.gone) continue;
        // Every wait ends: a change or the app's coming and going wakes it, else the timer.
        SourceId timer(g_timeout_add_full(
            G_PRIORITY_DEFAULT, static_cast<guint>(next.count()),
            +[](gpointer data) -> gboolean {
                auto* s = static_cast<FollowState*>(data);
                s->changed = true;
                s->poke();
                return G_SOURCE_CONTINUE; // removed with `timer`
            },
            &state, nullptr));
        auto wake = state.wake;
        co_await wake->wait();
        state.wake = std::make_shared<AsyncEvent>();
    }
    if (stopHandler) g_cancellable_disconnect(stop, stopHandler);
    co_return status;
}

Task<int> run(StatusRequest request, GObjectPtr<GDBusConnection> bus, std::ostream* out, std::ostream* err,
              GCancellable* stop) {
    if (!bus) bus = co_await sessionBus();
    if (!bus) {
        *err << "Ostrel is not running\n"; // no session bus: no instance can be reached
        co_return statusNotRunning;
    }
    if (request.follow) co_return co_await follow(bus.get(), request, out, err, stop);
    const Reply r = co_await readProperty(bus.get(), request.busName, propertyFor(request.format));
    if (r.answer != Answer::ok) co_return report(r, *err);
    *out << r.value << "\n";
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
    tasks.spawn(runInto(run(request, GObjectPtr<GDBusConnection>::ref(bus), &out, &err, stop), status));
    if (request.follow) {
        // Until its reader goes away or the caller stops it: a bar's continuous mode, which outlives
        // restarts of the app.
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
