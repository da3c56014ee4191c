// Measures the running app from the outside: time from process start to the tray item registered
// with the watcher, CPU used while idle with the panel closed, and the proportional memory of the
// app and its web processes with the three demo sessions loaded, next to the same measure of the
// bare web engine. Run by hand on a display:
//   dbus-run-session -- xvfb-run -a -s -noreset build/bench/app/app_bench [idle-seconds] [ostrel]
#include "async/loop.h"
#include "fake_tray_watcher.h"
#include "proc_stats.h"
#include "support/loop.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gio/gio.h>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace ostrel;
using namespace ostrel::bench;
using namespace std::chrono_literals;

namespace {

std::string commOf(int pid) {
    std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

// Prints the proportional memory of a process and its descendants, one line each, and returns
// the total in KiB.
long printTreePss(int root) {
    long total = 0;
    for (int p : descendants(root)) {
        const long kib = pssKiB(p);
        total += kib;
        std::printf("  %-24s %6.1f MB\n", commOf(p).c_str(), static_cast<double>(kib) / 1024.0);
    }
    std::printf("  %-24s %6.1f MB\n", "total", static_cast<double>(total) / 1024.0);
    return total;
}

double mib(long kib) {
    return static_cast<double>(kib) / 1024.0;
}

} // namespace

int main(int argc, char** argv) {
    const int idleSeconds = argc > 1 ? std::max(5, std::atoi(argv[1])) : 60;
    const char* binary = argc > 2 ? argv[2] : OSTREL_APP_BINARY; // e.g. an optimised build
    GCharPtr tmp(g_dir_make_tmp("ostrel-bench-XXXXXX", nullptr));
    const std::string home = tmp.get();
    GObjectPtr<GDBusConnection> bus = adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!bus) {
        std::fprintf(stderr, "needs a session bus: run under dbus-run-session\n");
        return 1;
    }
    fake::FakeTrayWatcher watcher(bus.get());
    if (!runLoopUntil([&] { return watcher.owned(); }, 5s)) {
        std::fprintf(stderr, "another tray watcher owns the name; run in a private session\n");
        return 1;
    }

    GObjectPtr<GSubprocessLauncher> launcher =
        adopt(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDOUT_SILENCE));
    for (const char* var : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"})
        g_subprocess_launcher_setenv(launcher.get(), var, (home + "/" + var).c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher.get(), "GTK_A11Y", "none", TRUE);
    const gint64 start = g_get_monotonic_time();
    GErrorOut err;
    GObjectPtr<GSubprocess> app =
        adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), binary, "--demo", nullptr));
    if (!app) {
        std::fprintf(stderr, "cannot start %s: %s\n", binary, err.message().c_str());
        return 1;
    }
    const int pid = std::atoi(g_subprocess_get_identifier(app.get()));
    if (!runLoopUntil([&] { return !watcher.registrations().empty(); }, 30s)) {
        std::fprintf(stderr, "the app never registered its tray item\n");
        return 1;
    }
    const double startMs = static_cast<double>(g_get_monotonic_time() - start) / 1000.0;
    std::printf("start to tray item registered: %.0f ms\n", startMs);

    // Let the first refreshes finish and the pages settle before measuring the idle app.
    runLoopUntil([] { return false; }, 15s);
    std::printf("proportional memory with the demo sessions loaded:\n");
    const long appPss = printTreePss(pid);

    const std::vector<int> tree = descendants(pid);
    std::vector<double> before;
    for (int p : tree)
        before.push_back(cpuSeconds(p));
    runLoopUntil([] { return false; }, std::chrono::seconds(idleSeconds));
    double total = 0;
    std::printf("CPU while idle over %d s, panel closed (one refresh of the three services falls in it):\n",
                idleSeconds);
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const double used = cpuSeconds(tree[i]) - before[i];
        total += used;
        if (used > 0)
            std::printf("  %-24s %.3f %% of a core\n", commOf(tree[i]).c_str(), 100.0 * used / idleSeconds);
    }
    std::printf("  %-24s %.3f %% of a core\n", "total", 100.0 * total / idleSeconds);

    g_subprocess_send_signal(app.get(), SIGTERM);
    g_subprocess_wait(app.get(), nullptr, nullptr);

    // The same measure of the bare engine tells how much of the figure above is the app's own.
    GObjectPtr<GSubprocess> floor =
        adopt(g_subprocess_launcher_spawn(launcher.get(), err.out(), ENGINE_FLOOR_BINARY, nullptr));
    if (!floor) {
        std::fprintf(stderr, "cannot start the engine-only program: %s\n", err.message().c_str());
        return 1;
    }
    runLoopUntil([] { return false; }, 15s);
    std::printf("proportional memory of the web engine alone (three hidden views of a one-line page):\n");
    const long floorPss = printTreePss(std::atoi(g_subprocess_get_identifier(floor.get())));
    std::printf("the app's own share: %.1f MB\n", mib(appPss) - mib(floorPss));
    g_subprocess_send_signal(floor.get(), SIGTERM);
    g_subprocess_wait(floor.get(), nullptr, nullptr);
    const std::string rm = "rm -rf '" + home + "'";
    return std::system(rm.c_str()) == 0 ? 0 : 1;
}
