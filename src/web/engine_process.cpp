// SPDX-License-Identifier: GPL-3.0-or-later
#include "web/engine_process.h"

#include <dirent.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>

namespace ostrel {

namespace {
struct DirCloser {
    void operator()(DIR* d) const { closedir(d); }
};
} // namespace

std::optional<unsigned long long> ticksSinceBoot() {
    std::ifstream uptime("/proc/uptime");
    double seconds = 0;
    if (!(uptime >> seconds)) return std::nullopt;
    return static_cast<unsigned long long>(seconds * static_cast<double>(sysconf(_SC_CLK_TCK)));
}

std::optional<unsigned long long> networkProcessStart() {
    const std::unique_ptr<DIR, DirCloser> proc(opendir("/proc"));
    if (!proc) return std::nullopt;
    const std::string self = std::to_string(getpid());
    std::optional<unsigned long long> latest;
    while (const dirent* entry = readdir(proc.get())) {
        const std::string name = entry->d_name;
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream file("/proc/" + name + "/stat");
        const std::string stat((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        // "pid (comm) state ppid ..." with the start time the 22nd field; comm is cut to 15 bytes.
        const auto open = stat.find('('), close = stat.rfind(')');
        if (open == std::string::npos || close == std::string::npos) continue;
        if (stat.compare(open + 1, close - open - 1, "WebKitNetworkPr") != 0) continue;
        std::istringstream rest(stat.substr(close + 2));
        std::string field, ppid;
        rest >> field >> ppid;
        if (ppid != self) continue;
        for (int i = 5; i < 22 && rest >> field; ++i) {
        }
        unsigned long long start = 0;
        if (!(rest >> start)) continue;
        if (!latest || start > *latest) latest = start;
    }
    return latest;
}

} // namespace ostrel
