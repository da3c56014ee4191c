// Runs the stand-in services on their loopback addresses until interrupted, for trying the app
// against them by hand:
//   build/tools/fake-services/ostrel-fake-services
// then start Ostrel with the printed OSTREL_*_URL variables and log in on the fake pages.
#include "fake_chatgpt.h"
#include "fake_claude.h"
#include "fake_cursor.h"
#include "fake_feedback.h"

#include <cstdio>
#include <glib-unix.h>
#include <memory>

using namespace ostrel::fake;

int main() {
    FakeClaude claude;
    FakeCursor cursor;
    FakeChatGPT chatgpt;
    FakeFeedback feedback;
    std::printf("OSTREL_CLAUDE_URL=%s\nOSTREL_CURSOR_URL=%s\nOSTREL_CHATGPT_URL=%s\n"
                "OSTREL_CHATGPT_ACCOUNT_DOMAIN=%s\nOSTREL_FEEDBACK_URL=%s\n",
                claude.origin().c_str(), cursor.origin().c_str(), chatgpt.origin().c_str(),
                chatgpt.accountHost().c_str(), feedback.origin().c_str());
    std::fflush(stdout);
    std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> owner(g_main_loop_new(nullptr, FALSE),
                                                                   g_main_loop_unref);
    GMainLoop* loop = owner.get();
    auto quit = [](gpointer l) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(l));
        return G_SOURCE_REMOVE;
    };
    g_unix_signal_add(SIGINT, quit, loop);
    g_unix_signal_add(SIGTERM, quit, loop);
    g_main_loop_run(loop);
    return 0;
}
