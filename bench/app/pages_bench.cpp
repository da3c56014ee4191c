// What the hidden pages cost at rest: runs the app in demo mode twice, once with the stand-in
// services' light pages and once with pages that behave like large single-page apps (a big script
// heap, a frame loop, a busy timer, a request of their own every 5 s), and prints for each the
// proportional memory of the whole process tree at rest and during a poll, the CPU it used, and the
// requests the pages made on their own. Run by hand on a display:
//   dbus-run-session -- xvfb-run -a -s -noreset build/bench/app/pages_bench [seconds] [ostrel]
#include "base/gobject_ptr.h"
#include "demo_process.h"
#include "proc_stats.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gio/gio.h>
#include <regex>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace ostrel;
using namespace ostrel::bench;

namespace {

void runFor(double seconds) {
    const gint64 end = g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
    while (g_get_monotonic_time() < end) {
        g_main_context_iteration(nullptr, FALSE);
        g_usleep(10000);
    }
}

struct Figures {
    double restMB = 0, pollMB = 0, cpuPercent = 0;
    long ownRequests = -1;
};

Figures measure(const char* binary, const char* pages, int seconds, const std::string& home) {
    GObjectPtr<GSubprocessLauncher> launcher = adopt(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_NONE));
    g_subprocess_launcher_setenv(launcher.get(), "OSTREL_DEMO_PAGES", pages, TRUE);
    const std::string logPath = home + "/" + pages + ".log";
    g_subprocess_launcher_set_stdout_file_path(launcher.get(), logPath.c_str());
    GObjectPtr<GSubprocess> app = startDemo(launcher.get(), binary, home + "/" + pages);
    const int pid = std::atoi(g_subprocess_get_identifier(app.get()));
    runFor(20); // start, log in, the first refresh and its pages
    std::vector<int> procs = descendants(pid);
    double cpuBefore = 0;
    for (int p : procs)
        cpuBefore += cpuSeconds(p);
    std::vector<long> samples;
    for (int s = 0; s < seconds; ++s) {
        runFor(1);
        long total = 0;
        for (int p : descendants(pid))
            total += pssKiB(p);
        samples.push_back(total);
    }
    double cpuAfter = 0;
    for (int p : procs)
        cpuAfter += cpuSeconds(p);
    g_subprocess_send_signal(app.get(), SIGTERM);
    g_subprocess_wait(app.get(), nullptr, nullptr);

    Figures f;
    std::sort(samples.begin(), samples.end());
    f.restMB = static_cast<double>(samples[samples.size() / 10]) / 1024.0; // a low decile: between polls
    f.pollMB = static_cast<double>(samples.back()) / 1024.0;
    f.cpuPercent = 100.0 * (cpuAfter - cpuBefore) / seconds;
    std::ifstream log(logPath);
    const std::regex own(R"(made (\d+) requests of their own)");
    for (std::string line; std::getline(log, line);)
        if (std::smatch m; std::regex_search(line, m, own)) f.ownRequests = std::stol(m[1]);
    return f;
}

} // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::max(30, std::atoi(argv[1])) : 300;
    const char* binary = argc > 2 ? argv[2] : OSTREL_APP_BINARY;
    GCharPtr tmp(g_dir_make_tmp("ostrel-pages-XXXXXX", nullptr));
    const std::string home = tmp.get();
    std::printf("three demo services logged in, 60 s polls, panel closed, %d s measured after a 20 s start\n",
                seconds);
    std::printf("%-22s %14s %16s %12s %22s\n", "pages", "PSS at rest", "PSS during poll", "CPU",
                "page-initiated requests");
    for (const char* pages : {"light", "app"}) {
        const Figures f = measure(binary, pages, seconds, home);
        std::printf("%-22s %11.0f MB %13.0f MB %10.2f %% %22ld\n",
                    std::string(pages) == "app" ? "single-page app" : "light (one line)", f.restMB, f.pollMB,
                    f.cpuPercent, f.ownRequests);
    }
    const std::string rm = "rm -rf '" + home + "'";
    return std::system(rm.c_str()) == 0 ? 0 : 1;
}
