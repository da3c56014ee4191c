// `ostrel status` against a running app's status export on a private bus: each format without a fetch,
// an app that is starting, following changes across a restart of the app and until the reader goes
// away, and no app at all. What each format says is tested with the model in tests/model.
#include "app/status_cli.h"
#include "app/status_service.h"
#include "base/log.h"
#include "model/status_json.h"
#include "model/usage_history.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/private_bus.h"

#include <csignal>
#include <ext/stdio_filebuf.h>
#include <functional>
#include <glib-unix.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using test::ScriptedModel;

// Runs `f` once on the main loop after `ms`.
void after(unsigned ms, std::function<void()> f) {
    using F = std::function<void()>;
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, ms,
        +[](gpointer p) -> gboolean { return (*static_cast<F*>(p))(), G_SOURCE_REMOVE; }, new F(std::move(f)),
        +[](gpointer p) { delete static_cast<F*>(p); });
}

// Cancels `stop` once `done` holds (asked every 50 ms), or after 20 s at the latest.
void stopWhen(GCancellable* stop, std::function<bool()> done) {
    using F = std::function<bool()>;
    struct Watch {
        GCancellable* stop;
        F done;
        gint64 until = g_get_monotonic_time() + 20 * G_TIME_SPAN_SECOND;
    };
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, 50,
        +[](gpointer p) -> gboolean {
            auto* w = static_cast<Watch*>(p);
            if (!w->done() && g_get_monotonic_time() < w->until) return G_SOURCE_CONTINUE;
            g_cancellable_cancel(w->stop);
            return G_SOURCE_REMOVE;
        },
        new Watch{stop, std::move(done)}, +[](gpointer p) { delete static_cast<Watch*>(p); });
}

class StatusCommand : public ::testing::Test {
  protected:
    void SetUp() override {
        m_.succeed(ProviderID::claude,
                   ScriptedModel::snapshot(m_.limit("session", 57, 2h), {m_.limit("weekly", 20)}));
        service_ = std::make_unique<StatusService>(appBus_.get(), *m_.model, &history_);
    }
    ~StatusCommand() override {
        if (owner_) g_bus_unown_name(owner_);
    }

    // The app: its status object (when there is one yet), and the app's name on the same connection.
    void startApp() {
        ASSERT_TRUE(!service_ || service_->registered());
        bool owned = false;
        owner_ = g_bus_own_name_on_connection(
            appBus_.get(), "app.ostrel.Ostrel", G_BUS_NAME_OWNER_FLAGS_NONE,
            +[](GDBusConnection*, const char*, gpointer flag) { *static_cast<bool*>(flag) = true; }, nullptr,
            &owned, nullptr);
        ASSERT_TRUE(runLoopUntil([&] { return owned; }, 5s));
    }
    void quitApp() { g_bus_unown_name(std::exchange(owner_, 0u)); }
    int status(std::vector<std::string> args, GCancellable* stop = nullptr) {
        out_.str("");
        err_.str("");
        return status(std::move(args), out_, -1, stop);
    }
    int status(std::vector<std::string> args, std::ostream& out, int outputFd, GCancellable* stop) {
        std::string error;
        auto request = parseStatusArgs(args, error);
        EXPECT_TRUE(request) << error;
        request->outputFd = outputFd;
        return runStatus(*request, cliBus_.get(), out, err_, stop);
    }
    std::vector<std::string> lines() const { return test::splitLines(out_.str()); }

    ScopedLogSink quiet_{[](const std::string&) {}};
    ScriptedModel m_;
    UsageHistory history_{*m_.model, m_.dir.file("history.sqlite")};
    test::PrivateBus bus_;
    GObjectPtr<GDBusConnection> appBus_ = bus_.connect();
    GObjectPtr<GDBusConnection> cliBus_ = bus_.connect();
    std::unique_ptr<StatusService> service_;
    unsigned owner_ = 0;
    std::ostringstream out_, err_;
};

TEST_F(StatusCommand, PrintsEachFormatWithoutFetching) {
    startApp();
    const int fetches = m_.provider(ProviderID::claude).fetches;
    const std::pair<std::vector<std::string>, std::string> formats[] = {
        {{}, m_.model->trayAccessibilityText()},
        {{"--json"}, statusJson(*m_.model, &history_, m_.model->now())},
        {{"--waybar"}, waybarJson(*m_.model, &history_)},
    };
    for (const auto& [args, printed] : formats) {
        ASSERT_EQ(status(args), 0) << err_.str();
        EXPECT_EQ(out_.str(), printed + "\n");
    }
    EXPECT_TRUE(err_.str().empty());
    test::drain();
    EXPECT_EQ(m_.provider(ProviderID::claude).fetches, fetches) << "asking for the status fetches nothing";
    std::string error;
    EXPECT_FALSE(parseStatusArgs({"--yaml"}, error));
    EXPECT_EQ(error, "unknown status option --yaml");
}

TEST_F(StatusCommand, AStartingAppIsNotRunningYetNeverAFailure) {
    // The app's name is there before its status object is, and then before its model is: either way
    // a bar's script sees "not running" (3), never an error (1).
    service_.reset();
    startApp();
    for (bool objectThere : {false, true}) {
        if (objectThere) service_ = std::make_unique<StatusService>(appBus_.get());
        for (const auto& args : {std::vector<std::string>{}, {"--json"}, {"--waybar"}}) {
            EXPECT_EQ(status(args), statusNotRunning)
                << "object there: " << objectThere << ", " << err_.str();
            EXPECT_EQ(out_.str(), "");
            EXPECT_EQ(err_.str(), "Ostrel is starting\n");
        }
    }
    service_->attach(*m_.model, &history_);
    EXPECT_EQ(status({}), 0) << err_.str();
}

TEST_F(StatusCommand, FollowOutlivesARestartOfTheApp) {
    startApp();
    GObjectPtr<GCancellable> stop = adopt(g_cancellable_new());
    // The app quits; new numbers come meanwhile; it starts again, its name before its status object.
    after(300, [this] { quitApp(); });
    after(600, [this] {
        service_.reset();
        m_.answer(ProviderID::claude, ScriptedModel::snapshot(m_.limit("session", 95, 2h)));
        spawn(m_.model->refresh(ProviderID::claude));
    });
    after(900, [this] { startApp(); });
    after(1400, [this] { service_ = std::make_unique<StatusService>(appBus_.get(), *m_.model, &history_); });
    stopWhen(stop.get(), [this] { return lines().size() >= 3; });
    EXPECT_EQ(status({"--waybar", "--follow"}, stop.get()), 0) << err_.str();
    const auto printed = lines();
    ASSERT_EQ(printed.size(), 3u) << out_.str();
    EXPECT_EQ(nlohmann::json::parse(printed[0])["percentage"], 43);
    const auto away = nlohmann::json::parse(printed[1]);
    EXPECT_EQ(away["class"], "not-running") << "one line while away, however long the start takes";
    EXPECT_EQ(nlohmann::json::parse(printed[2])["percentage"], 5) << "fresh numbers after the return";

    // Started with no app at all, it says so once and waits for it.
    quitApp();
    stop = adopt(g_cancellable_new());
    after(300, [this] { startApp(); });
    stopWhen(stop.get(), [this] { return lines().size() >= 2; });
    EXPECT_EQ(status({"--follow"}, stop.get()), 0);
    EXPECT_EQ(lines(),
              (std::vector<std::string>{"Ostrel is not running", m_.model->trayAccessibilityText()}));
}

TEST_F(StatusCommand, FollowEndsWhenItsReaderGoesAway) {
    startApp();
    std::signal(SIGPIPE, SIG_IGN); // a write into the closed pipe must fail, not end the test
    // A reader that reads the first line and closes the pipe: the command ends with no change to
    // print. And a stream that fails at the first line.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    __gnu_cxx::stdio_filebuf<char> buffer(fds[1], std::ios::out);
    std::ostream pipeOut(&buffer);
    std::string first;
    g_unix_fd_add(
        fds[0], G_IO_IN,
        +[](int fd, GIOCondition, gpointer line) -> gboolean {
            char chunk[4096];
            const ssize_t n = read(fd, chunk, sizeof chunk);
            if (n > 0) static_cast<std::string*>(line)->append(chunk, static_cast<std::size_t>(n));
            close(fd);
            return G_SOURCE_REMOVE;
        },
        &first);
    GObjectPtr<GCancellable> stop = adopt(g_cancellable_new());
    stopWhen(stop.get(), [] { return false; });
    EXPECT_EQ(status({"--waybar", "--follow"}, pipeOut, fds[1], stop.get()), 1);
    EXPECT_FALSE(g_cancellable_is_cancelled(stop.get())) << "ended by the reader, not by the stop";
    EXPECT_EQ(nlohmann::json::parse(first)["percentage"], 43);

    std::ostringstream closed;
    closed.setstate(std::ios::badbit);
    EXPECT_EQ(status({"--follow"}, closed, -1, stop.get()), 1);
}

TEST_F(StatusCommand, FollowPrintsALineAtEveryChangeAndEndsWhenStopped) {
    startApp();
    // While following: new numbers, the same numbers again (no new line), then the app quits.
    after(300, [this] {
        m_.answer(ProviderID::claude, ScriptedModel::snapshot(m_.limit("session", 95, 2h)));
        spawn(m_.model->refresh(ProviderID::claude));
    });
    after(600, [this] { spawn(m_.model->refresh(ProviderID::claude)); });
    GObjectPtr<GCancellable> stop = adopt(g_cancellable_new());
    after(900, [&] { g_cancellable_cancel(stop.get()); });
    EXPECT_EQ(status({"--waybar", "--follow"}, stop.get()), 0);
    ASSERT_EQ(lines().size(), 2u) << out_.str();
    EXPECT_EQ(nlohmann::json::parse(lines()[0])["percentage"], 43);
    EXPECT_EQ(nlohmann::json::parse(lines()[1])["percentage"], 5);
    // The status object alone, without the app's name, is not a running app.
    quitApp();
    for (const auto& args : {std::vector<std::string>{}, {"--json"}}) {
        EXPECT_EQ(status(args), statusNotRunning);
        EXPECT_EQ(out_.str(), "");
        EXPECT_EQ(err_.str(), "Ostrel is not running\n");
    }
}

} // namespace
} // namespace ostrel
