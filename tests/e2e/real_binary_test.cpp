#include "app/status_cli.h"
#include "app_fixture.h"
#include "support/loop.h"
#include "web/web_context.h"

#include <string>
#include <vector>

// X11's macros (None, Status, ...) must come after every C++ header.
#include <X11/Xlib.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

namespace {

// Waits (bounded) for `process` to end.
bool ends(GSubprocess* process) {
    bool done = false;
    g_subprocess_wait_async(
        process, nullptr, [](GObject*, GAsyncResult*, gpointer d) { *static_cast<bool*>(d) = true; }, &done);
    return runLoopUntil([&] { return done; }, 20s);
}

class RealBinary : public AppFixture {
  protected:
    // Starts the program as a user would, with this test's bus, folders and stand-in services;
    // its output goes to out.log.
    GObjectPtr<GSubprocessLauncher> launcher() {
        auto launcher = adopt(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDERR_MERGE));
        g_subprocess_launcher_set_stdout_file_path(launcher.get(), dir_.file("out.log").c_str());
        const std::pair<const char*, std::string> env[] = {
            {"DISPLAY", g_getenv("DISPLAY") ? g_getenv("DISPLAY") : ""},
            {"DBUS_SESSION_BUS_ADDRESS", bus_->address()},
            {"XDG_CONFIG_HOME", dir_.file("config")},
            {"XDG_DATA_HOME", dir_.file("data")},
            {"XDG_CACHE_HOME", dir_.file("cache")},
            {"XDG_STATE_HOME", dir_.file("state")},
            {"OSTREL_CLAUDE_URL", claude_.origin()},
            {"OSTREL_CURSOR_URL", cursor_.origin()},
            {"OSTREL_CHATGPT_URL", chatgpt_.origin()},
            {"OSTREL_CHATGPT_ACCOUNT_DOMAIN", chatgpt_.accountHost()},
        };
        for (const auto& [name, value] : env)
            g_subprocess_launcher_setenv(launcher.get(), name, value.c_str(), TRUE);
        return launcher;
    }
};

// Whether a top-level window titled `title` is showing on the X server.
bool windowShown(const char* title) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) return false;
    Window root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    bool shown = false;
    if (XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count)) {
        for (unsigned i = 0; i < count && !shown; ++i) {
            char* name = nullptr;
            XWindowAttributes attributes;
            if (XFetchName(display, children[i], &name) && name) {
                shown = std::string(name) == title &&
                        XGetWindowAttributes(display, children[i], &attributes) &&
                        attributes.map_state == IsViewable;
                XFree(name);
            }
        }
        XFree(children);
    }
    XCloseDisplay(display);
    return shown;
}

} // namespace

// The installed program itself, started as a user would, with the services, the tray host and the
// notification service all stand-ins it cannot tell from the real ones.
TEST_F(RealBinary, StartsShowsTheNumbersInTheTrayStaysSingleAndQuitsCleanly) {
    const auto now = std::chrono::system_clock::now();
    claude_.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(25, now + 2h, 10, now + 72h)));
    // A login made earlier: the session cookie is already in the web engine's store on disk.
    {
        WebContext web(webDataDir(), webCacheDir());
        runSync(web.addCookie(fake::FakeClaude::cookieName, claude_.issueSession(), claude_.host(), 3600),
                10s);
        pump(500ms);
    }

    // The app's output goes to a file; a second start inherits ours.
    auto launcher = this->launcher();
    GErrorOut err;
    auto app = adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), OSTREL_APP_BINARY, nullptr));
    ASSERT_TRUE(app) << err.message();
    ASSERT_TRUE(runLoopUntil([&] { return !watcher_->registrations().empty(); }, 30s))
        << "tray item registered";
    const std::string item = watcher_->registrations()[0].busName;
    std::string title;
    for (int tries = 0; tries < 150 && title.rfind("Claude", 0) != 0; ++tries) {
        pump(200ms);
        title = runSync(trayItemProperty(hostBus_.get(), item, "Title"), 10s);
    }
    EXPECT_EQ(title, "Claude 75% left, resets in 1h 59m") << "the stored login is used at once";

    EXPECT_FALSE(windowShown("Ostrel")) << "with a tray, the first start shows no window";

    // Starting it again hands over to the running instance and ends at once.
    g_subprocess_launcher_set_stdout_file_path(launcher.get(), nullptr);
    auto second = adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), OSTREL_APP_BINARY, nullptr));
    ASSERT_TRUE(second && ends(second.get()));
    EXPECT_TRUE(g_subprocess_get_if_exited(second.get()));
    EXPECT_EQ(g_subprocess_get_exit_status(second.get()), 0);
    EXPECT_EQ(watcher_->registrations().size(), 1u) << "still one tray item";

    g_subprocess_send_signal(app.get(), SIGTERM);
    ASSERT_TRUE(ends(app.get())) << "quits on a polite kill";
    EXPECT_TRUE(g_subprocess_get_if_exited(app.get()));
    const std::string logged = readFile(dir_.file("out.log"));
    EXPECT_NE(logged.find("[Ostrel] Claude OK, main: 75% left"), std::string::npos) << logged;
    for (const auto& secret : claude_.issuedSessions())
        EXPECT_EQ(logged.find(secret), std::string::npos);
}

// No tray at all: the first start shows the panel as a window, and a tray that comes later gets the
// item. Asked while the app starts, the status says it is not running (3), never that it failed (1).
TEST_F(RealBinary, WithoutATrayTheFirstStartShowsThePanelAndALaterTrayGetsTheItem) {
    watcher_.reset();
    auto launcher = this->launcher();
    GErrorOut err;
    auto app = adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), OSTREL_APP_BINARY, nullptr));
    ASSERT_TRUE(app) << err.message();
    g_subprocess_launcher_set_stdout_file_path(launcher.get(), nullptr);
    g_subprocess_launcher_set_flags(
        launcher.get(),
        static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_SILENCE | G_SUBPROCESS_FLAGS_STDERR_SILENCE));
    std::vector<int> answers;
    for (int tries = 0; tries < 300 && (answers.empty() || answers.back() != 0); ++tries) {
        auto status = adopt(
            g_subprocess_launcher_spawn(launcher.get(), err.out(), OSTREL_APP_BINARY, "status", nullptr));
        ASSERT_TRUE(status && ends(status.get()));
        answers.push_back(g_subprocess_get_exit_status(status.get()));
    }
    ASSERT_EQ(answers.back(), 0) << "the app never answered";
    for (int answer : answers)
        EXPECT_TRUE(answer == 0 || answer == statusNotRunning) << "exit status " << answer;

    EXPECT_TRUE(runLoopUntil([] { return windowShown("Ostrel"); }, 30s)) << "the panel, as a window";
    watcher_ = std::make_unique<fake::FakeTrayWatcher>(hostBus_.get());
    EXPECT_TRUE(runLoopUntil([&] { return !watcher_->items().empty(); }, 20s)) << "a tray that came later";

    g_subprocess_send_signal(app.get(), SIGTERM);
    ASSERT_TRUE(ends(app.get()));
    const std::string logged = readFile(dir_.file("out.log"));
    EXPECT_NE(logged.find("No system tray: the panel opens as a window"), std::string::npos) << logged;
}

// Without a folder of its own the demo's settings, logins and history would land somewhere not its
// own (its paths rooted at "/"): it stops with a clear error instead.
TEST_F(RealBinary, TheDemoStopsWhenItCannotMakeItsOwnFolder) {
    auto launcher = this->launcher();
    g_subprocess_launcher_setenv(launcher.get(), "TMPDIR", dir_.file("no-such-folder").c_str(), TRUE);
    GErrorOut err;
    auto app =
        adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), OSTREL_APP_BINARY, "--demo", nullptr));
    ASSERT_TRUE(app) << err.message();
    ASSERT_TRUE(ends(app.get())) << readFile(dir_.file("out.log"));
    EXPECT_TRUE(g_subprocess_get_if_exited(app.get()));
    EXPECT_EQ(g_subprocess_get_exit_status(app.get()), 1);
    const std::string said = readFile(dir_.file("out.log"));
    EXPECT_NE(said.find("the demo could not make a folder of its own"), std::string::npos) << said;
    EXPECT_TRUE(watcher_->registrations().empty()) << "nothing was started";
}
