// What the panel costs: runs the demo, and prints the proportional memory of the whole process tree
// between refreshes before the panel was ever opened, while it is open, and after it has closed,
// and the CPU used while it is open and its gauge animates. Once with GTK's GL renderer (software GL under
// Xvfb) and once with the renderer the app picks for itself. Run by hand on a display with a session bus:
//   dbus-run-session -- xvfb-run -a -s -noreset build/bench/app/panel_bench [ostrel]
#include "base/gobject_ptr.h"
#include "demo_process.h"
#include "proc_stats.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gio/gio.h>
#include <string>
#include <vector>

using namespace ostrel;
using namespace ostrel::bench;

namespace {

double treeMB(int pid) {
    long kib = 0;
    for (int p : descendants(pid))
        kib += pssKiB(p);
    return static_cast<double>(kib) / 1024.0;
}

// Waits `seconds`, reading the tree's memory each second; the least of it. A refresh swells the
// web processes for a few seconds (the poll comes every minute, and opening the panel makes one);
// the least reading is the footprint between them.
double restingMB(int pid, double seconds) {
    const gint64 end = g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
    double least = 1e9;
    while (g_get_monotonic_time() < end) {
        g_main_context_iteration(nullptr, FALSE);
        g_usleep(1000000);
        least = std::min(least, treeMB(pid));
    }
    return least;
}

double treeCpu(int pid) {
    double s = 0;
    for (int p : descendants(pid))
        s += cpuSeconds(p);
    return s;
}

// Runs one of the demo's application actions over the bus, as the tray's click does.
void action(GDBusConnection* bus, const char* name, GVariant* parameter) {
    GVariantBuilder params;
    g_variant_builder_init(&params, G_VARIANT_TYPE("av"));
    if (parameter) g_variant_builder_add(&params, "v", parameter);
    GVariantPtr reply(g_dbus_connection_call_sync(
        bus, "app.ostrel.Ostrel.Demo", "/app/ostrel/Ostrel/Demo", "org.freedesktop.Application",
        "ActivateAction",
        g_variant_new("(sav@a{sv})", name, &params, g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)),
        nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr));
    if (!reply) std::fprintf(stderr, "the action %s did not run\n", name);
}

struct Figures {
    double before = 0, open = 0, after = 0, cpuOpen = 0;
};

Figures measure(const char* binary, const char* renderer, const std::string& home, GDBusConnection* bus) {
    GObjectPtr<GSubprocessLauncher> launcher =
        adopt(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDOUT_SILENCE));
    if (renderer)
        g_subprocess_launcher_setenv(launcher.get(), "GSK_RENDERER", renderer, TRUE);
    else
        g_subprocess_launcher_unsetenv(launcher.get(), "GSK_RENDERER");
    GObjectPtr<GSubprocess> app = startDemo(launcher.get(), binary, home);
    const int pid = std::atoi(g_subprocess_get_identifier(app.get()));
    restingMB(pid, 20); // start, log in, the first refresh
    Figures f;
    // The footprint is still settling in the first minute after the start (read over 30 s, it came
    // out above the footprint after closing): read it over a window that also spans a poll.
    f.before = restingMB(pid, 90);
    action(bus, "open-panel", nullptr);
    restingMB(pid, 5); // the panel draws, the gauge fills from empty, the refresh it asked for runs
    const double cpu0 = treeCpu(pid);
    f.open = restingMB(pid, 30);
    f.cpuOpen = 100.0 * (treeCpu(pid) - cpu0) / 30.0;
    action(bus, "toggle-panel-at", g_variant_new("(sii)", "", 0, 0));
    f.after = restingMB(pid, 40);
    g_subprocess_send_signal(app.get(), SIGTERM);
    g_subprocess_wait(app.get(), nullptr, nullptr);
    return f;
}

} // namespace

int main(int argc, char** argv) {
    const char* binary = argc > 1 ? argv[1] : OSTREL_APP_BINARY;
    GObjectPtr<GDBusConnection> bus = adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!bus) {
        std::fprintf(stderr, "needs a session bus: run under dbus-run-session\n");
        return 1;
    }
    GCharPtr tmp(g_dir_make_tmp("ostrel-panel-XXXXXX", nullptr));
    const std::string home = tmp.get();
    std::printf("the demo, three services logged in; PSS of the whole process tree between refreshes, CPU of "
                "one core\n");
    std::printf("%-26s %10s %10s %12s %12s\n", "renderer", "before", "open", "after close", "CPU open");
    for (const char* renderer : {"gl", static_cast<const char*>(nullptr)}) {
        const Figures f = measure(binary, renderer, home + "/" + (renderer ? renderer : "own"), bus.get());
        std::printf("%-26s %7.0f MB %7.0f MB %9.0f MB %10.1f %%\n",
                    renderer ? "GTK's GL (software)" : "the app's own choice", f.before, f.open, f.after,
                    f.cpuOpen);
    }
    const std::string rm = "rm -rf '" + home + "'";
    return std::system(rm.c_str()) == 0 ? 0 : 1;
}
