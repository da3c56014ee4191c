#include "app/demo.h"

#include "async/loop.h"
#include "base/gauge_theme_id.h"
#include "base/log.h"
#include "web/web_session.h"

#include <algorithm>
#include <cstdlib>
#include <glib/gstdio.h>
#include <stdexcept>

namespace ostrel {

using namespace std::chrono_literals;

namespace {

constexpr auto claudeCycle = 8min; // a short session window, so resets come round while you watch
constexpr auto codexCycle = 15min;

void removeTree(const std::string& path) {
    if (GDir* dir = g_dir_open(path.c_str(), 0, nullptr)) {
        while (const char* name = g_dir_read_name(dir)) {
            const std::string child = path + "/" + name;
            if (g_file_test(child.c_str(), G_FILE_TEST_IS_DIR) &&
                !g_file_test(child.c_str(), G_FILE_TEST_IS_SYMLINK))
                removeTree(child);
            else
                g_remove(child.c_str());
        }
        g_dir_close(dir);
    }
    g_rmdir(path.c_str());
}

} // namespace

Demo::Demo() : start_(std::chrono::system_clock::now()) {
    services_.claude = *ServiceEndpoint::parse(claude_.origin());
    services_.cursor = *ServiceEndpoint::parse(cursor_.origin());
    services_.chatgpt = *ServiceEndpoint::parse(chatgpt_.origin());
    services_.feedback = *ServiceEndpoint::parse(feedback_.origin());
    services_.chatgptAccountDomain = chatgpt_.accountHost();
    services_.cursorOlderDomain = "127.0.0.7"; // nothing lives there; it only needs to be someone else's
    // For measuring what the services' real pages would cost: heavy single-page-app pages.
    if (const char* pages = g_getenv("OSTREL_DEMO_PAGES"); pages && std::string_view(pages) == "app") {
        for (fake::FakeSite* site : {&claude_.site(), &cursor_.site(), &chatgpt_.site()})
            site->setSinglePageApp(200);
        log("Demo: the services' pages behave like large single-page apps");
    }
    // The demo's settings, logins and history live apart from the user's own; without a folder of
    // its own its paths would fall back on someone else's (or the root's), so it stops instead.
    GErrorOut err;
    GCharPtr folder(g_dir_make_tmp("ostrel-demo-XXXXXX", err.out()));
    if (!folder)
        throw std::runtime_error("the demo could not make a folder of its own (" + err.message() + ")");
    folder_ = folder.get();
    // Photographs of the panel in each gauge theme (scripts/screenshots.sh) start the demo in it.
    if (const char* theme = g_getenv("OSTREL_DEMO_THEME"); theme && gaugeThemeFromRaw(theme)) {
        const std::string settings = "[Ostrel]\ngaugeTheme=" + std::string(theme) + "\n";
        g_file_set_contents((folder_ + "/settings.ini").c_str(), settings.c_str(), -1, nullptr);
    }
    showUsageAt(0s);
    timer_ = SourceId(g_timeout_add_seconds(
        5,
        [](gpointer self) -> gboolean {
            auto* demo = static_cast<Demo*>(self);
            demo->showUsageAt(std::chrono::duration_cast<std::chrono::seconds>(
                std::chrono::system_clock::now() - demo->start_));
            return G_SOURCE_CONTINUE;
        },
        this));
}

Demo::~Demo() {
    // What the benchmark reads: the pages' own requests, which the app should never let happen.
    const std::size_t own = claude_.site().backgroundRequests() + cursor_.site().backgroundRequests() +
                            chatgpt_.site().backgroundRequests();
    log("Demo: the services' pages made " + std::to_string(own) + " requests of their own");
    removeTree(folder_);
}

Task<void> Demo::logIn(AppCore& core) {
    WebContext& web = core.web();
    co_await web.addCookie(fake::FakeClaude::cookieName, claude_.issueSession(), claude_.host());
    co_await web.addCookie(fake::FakeCursor::cookieName, cursor_.issueSession(), cursor_.host());
    co_await web.addCookie(fake::FakeChatGPT::cookieName, chatgpt_.issueSession(), chatgpt_.host());
}

void Demo::showUsageAt(std::chrono::seconds elapsed) {
    const TimePoint now = start_ + elapsed;
    auto phase = [&](auto cycle) {
        const auto into = elapsed % std::chrono::duration_cast<std::chrono::seconds>(cycle);
        return std::pair{static_cast<double>(into.count()) / static_cast<double>(cycle / 1s),
                         now - into + cycle};
    };
    // Claude climbs from a quarter used to nearly all of it, then resets: below 50 %, almost gone
    // and back to 100 % all come round within one cycle.
    const auto [claudePhase, claudeReset] = phase(claudeCycle);
    const double weekly = std::min(95.0, 30 + static_cast<double>(elapsed.count()) / 120.0);
    claude_.setUsageAnswer(fake::FakeAnswer::json(
        fake::FakeClaude::usageJson(25 + 72 * claudePhase, claudeReset, weekly, now + 3 * 24h + 5h)));

    cursor_.setUsageAnswer(fake::FakeAnswer::json(fake::FakeCursor::usageJson(
        18, std::min(90.0, 37 + static_cast<double>(elapsed.count()) / 60.0), start_ + 12 * 24h + 7h, 1234)));

    const auto [codexPhase, codexReset] = phase(codexCycle);
    const double untilReset = std::chrono::duration<double>(codexReset - now).count();
    chatgpt_.setUsageAnswer(fake::FakeAnswer::json(
        fake::FakeChatGPT::usageJson(10 + 60 * codexPhase, untilReset, 41, 3 * 24 * 3600.0)));
}

} // namespace ostrel
