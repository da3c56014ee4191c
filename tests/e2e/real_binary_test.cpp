#include "async/loop.h"
#include "fake_chatgpt.h"
#include "fake_claude.h"
#include "fake_cursor.h"
#include "fake_notifications.h"
#include "fake_tray_watcher.h"
#include "support/display.h"
#include "support/loop.h"
#include "support/private_bus.h"
#include "support/test_env.h"
#include "web/web_context.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

// The installed program itself, started as a user would, with the services, the tray host and the
// notification service all stand-ins it cannot tell from the real ones.
TEST(RealBinary, StartsShowsTheNumbersInTheTrayStaysSingleAndQuitsCleanly) {
    g_setenv("GTK_A11Y", "none", TRUE);
    ASSERT_TRUE(test::startGtk()) << "no display";
    TempDir home;
    fake::FakeClaude claude;
    fake::FakeCursor cursor;
    fake::FakeChatGPT chatgpt;
    const auto now = std::chrono::system_clock::now();
    claude.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(25, now + 2h, 10, now + 72h)));

    // A login made earlier: the session cookie is already in the web engine's store on disk.
    {
        WebContext web(home.file("data/ostrel/web"), home.file("cache/ostrel/web"));
        runSync(web.addCookie(fake::FakeClaude::cookieName, claude.issueSession(), claude.host(), 3600), 10s);
        pump(500ms);
    }

    const std::string display = g_getenv("DISPLAY") ? g_getenv("DISPLAY") : "";
    auto bus = std::make_unique<PrivateBus>();
    GObjectPtr<GDBusConnection> host = bus->connect();
    fake::FakeTrayWatcher watcher(host.get());
    fake::FakeNotifications notifications(host.get());
    ASSERT_TRUE(runLoopUntil([&] { return watcher.owned() && notifications.owned(); }, 5s));

    auto launcher = adopt(g_subprocess_launcher_new(
        static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_MERGE)));
    g_subprocess_launcher_setenv(launcher.get(), "DISPLAY", display.c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "DBUS_SESSION_BUS_ADDRESS", bus->address(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "XDG_CONFIG_HOME", home.file("config").c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "XDG_DATA_HOME", home.file("data").c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "XDG_CACHE_HOME", home.file("cache").c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "XDG_STATE_HOME", home.file("state").c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "OSTREL_CLAUDE_URL", claude.origin().c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "OSTREL_CURSOR_URL", cursor.origin().c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "OSTREL_CHATGPT_URL", chatgpt.origin().c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "OSTREL_CHATGPT_ACCOUNT_DOMAIN",
                                 chatgpt.accountHost().c_str(), TRUE);

    GErrorOut err;
    auto app = adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), OSTREL_APP_BINARY, nullptr));
    ASSERT_TRUE(app) << err.message();
    ASSERT_TRUE(runLoopUntil([&] { return !watcher.registrations().empty(); }, 30s))
        << "tray item registered";
    const std::string item = watcher.registrations()[0].service;

    std::string title;
    for (int tries = 0; tries < 150 && title.rfind("Claude", 0) != 0; ++tries) {
        pump(200ms);
        title = runSync(trayItemProperty(host.get(), item, "Title"), 10s);
    }
    EXPECT_EQ(title, "Claude 75% left, resets in 1h 59m") << "the stored login is used at once";

    // Starting it again hands over to the running instance and ends at once.
    auto second = adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), OSTREL_APP_BINARY, nullptr));
    ASSERT_TRUE(second);
    bool secondDone = false;
    g_subprocess_wait_async(
        second.get(), nullptr,
        [](GObject*, GAsyncResult*, gpointer done) { *static_cast<bool*>(done) = true; }, &secondDone);
    ASSERT_TRUE(runLoopUntil([&] { return secondDone; }, 20s));
    EXPECT_TRUE(g_subprocess_get_if_exited(second.get()));
    EXPECT_EQ(g_subprocess_get_exit_status(second.get()), 0);
    EXPECT_EQ(watcher.registrations().size(), 1u) << "still one tray item";

    g_subprocess_send_signal(app.get(), SIGTERM);
    bool appDone = false;
    char* out = nullptr;
    struct Ctx {
        bool* done;
        char** out;
    } ctx{&appDone, &out};
    g_subprocess_communicate_utf8_async(
        app.get(), nullptr, nullptr,
        [](GObject* src, GAsyncResult* res, gpointer data) {
            auto* c = static_cast<Ctx*>(data);
            g_subprocess_communicate_utf8_finish(G_SUBPROCESS(src), res, c->out, nullptr, nullptr);
            *c->done = true;
        },
        &ctx);
    ASSERT_TRUE(runLoopUntil([&] { return appDone; }, 20s)) << "quits on a polite kill";
    GCharPtr output(out);
    EXPECT_TRUE(g_subprocess_get_if_exited(app.get()));
    const std::string logged = output ? output.get() : "";
    EXPECT_NE(logged.find("[Ostrel] Claude OK, main: 75% left"), std::string::npos) << logged;
    for (const auto& secret : claude.issuedSessions())
        EXPECT_EQ(logged.find(secret), std::string::npos);
    host.reset();
}
