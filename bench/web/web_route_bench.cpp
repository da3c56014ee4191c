// Times usage requests through each route of the web session against the loopback fake Claude
// site, with the real engine. Run by hand on a display (or under xvfb-run):
//   xvfb-run -a build/bench/web/web_route_bench [N]
#include "async/loop.h"
#include "fake_claude.h"
#include "support/loop.h"
#include "web/web_session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <glib/gstdio.h>
#include <gtk/gtk.h>
#include <string>
#include <vector>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

template <typename Route> std::vector<double> timeRuns(int n, Route route) {
    std::vector<double> ms;
    for (int i = 0; i < n; ++i) {
        const gint64 start = g_get_monotonic_time();
        const HttpResult r = runSync(route(), 30s);
        ms.push_back(static_cast<double>(g_get_monotonic_time() - start) / 1000.0);
        if (r.code != 200) std::fprintf(stderr, "unexpected HTTP %d\n", r.code);
    }
    std::sort(ms.begin(), ms.end());
    return ms;
}

void report(const char* name, const std::vector<double>& ms) {
    const auto at = [&](double q) {
        return ms[static_cast<std::size_t>(q * static_cast<double>(ms.size() - 1))];
    };
    std::printf("%-12s n=%zu  median %.2f ms  p90 %.2f ms  min %.2f ms  max %.2f ms\n", name, ms.size(),
                at(0.5), at(0.9), ms.front(), ms.back());
}

} // namespace

int main(int argc, char** argv) {
    const int n = argc > 1 ? std::max(1, std::atoi(argv[1])) : 200;
    gtk_init();
    GCharPtr tmp(g_dir_make_tmp("ostrel-bench-XXXXXX", nullptr));
    const std::string dir = tmp.get();
    fake::FakeClaude claude;
    {
        WebContext context(dir + "/data", dir + "/cache");
        WebSession session(context, claude.host(), claude.origin() + "/settings/usage");
        runSync(context.addCookie(fake::FakeClaude::cookieName, claude.issueSession(), claude.host(), 3600),
                10s);
        const std::string url =
            claude.origin() + "/api/organizations/" + fake::FakeClaude::orgUuid + "/usage";
        runSync(session.get(url, {}), 30s); // warm up: page loaded, connections open

        std::printf("%d requests per route against %s\n", n, claude.origin().c_str());
        report("page route", timeRuns(n, [&] { return session.getViaPage(url, {}); }));
        report("direct", timeRuns(n, [&] { return session.getViaCookies(url, {}); }));
    }
    std::string rm = "rm -rf '" + dir + "'";
    return std::system(rm.c_str()) == 0 ? 0 : 1;
}
