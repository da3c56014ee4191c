#pragma once
// What the benchmarks read of a running process tree from /proc: its processes, their CPU time and
// their proportional memory.

#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace ostrel::bench {

inline double cpuSeconds(int pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), {});
    const auto close = text.rfind(')');
    if (close == std::string::npos) return 0;
    std::istringstream rest(text.substr(close + 2));
    std::string field;
    std::vector<std::string> fields;
    while (rest >> field)
        fields.push_back(field);
    // After the name: state(0) … utime(11) stime(12).
    if (fields.size() < 13) return 0;
    return static_cast<double>(std::stoll(fields[11]) + std::stoll(fields[12])) /
           static_cast<double>(sysconf(_SC_CLK_TCK));
}

inline std::vector<int> descendants(int root) {
    std::vector<int> out{root};
    for (std::size_t i = 0; i < out.size(); ++i) {
        std::ifstream children("/proc/" + std::to_string(out[i]) + "/task/" + std::to_string(out[i]) +
                               "/children");
        for (int child; children >> child;)
            out.push_back(child);
    }
    return out;
}

inline long pssKiB(int pid) {
    std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
    for (std::string line; std::getline(rollup, line);)
        if (line.rfind("Pss:", 0) == 0) return std::stol(line.substr(4));
    return 0;
}

} // namespace ostrel::bench
