// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The web engine's helper processes started by this test process, found in /proc: a test stops or
// ends them to play a web or network process that hangs or dies.

#include "support/loop.h"

#include <chrono>
#include <csignal>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <vector>
#include <webkit/webkit.h>

namespace ostrel::test {

enum class EngineProcess { web, network };

inline pid_t parentOf(pid_t pid) {
    std::ifstream statFile("/proc/" + std::to_string(pid) + "/stat");
    const std::string stat((std::istreambuf_iterator<char>(statFile)), std::istreambuf_iterator<char>());
    const auto close = stat.rfind(')');
    return close == std::string::npos || close + 4 > stat.size() ? 0 : std::stoi(stat.substr(close + 4));
}

// Whether `pid` is this process or one of its descendants.
inline bool descendsFromUs(pid_t pid) {
    for (int depth = 0; pid > 1 && depth < 16; ++depth, pid = parentOf(pid))
        if (pid == getpid()) return true;
    return false;
}

// The live children of this process of that kind ("WebKitWebProcess", "WebKitNetworkProcess").
inline std::set<pid_t> engineProcesses(EngineProcess kind) {
    const std::string wanted = kind == EngineProcess::web ? "WebKitWebProcess" : "WebKitNetworkProcess";
    std::set<pid_t> found;
    DIR* proc = opendir("/proc");
    if (!proc) return found;
    while (dirent* entry = readdir(proc)) {
        const std::string name = entry->d_name;
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream statFile("/proc/" + name + "/stat");
        const std::string stat((std::istreambuf_iterator<char>(statFile)), std::istreambuf_iterator<char>());
        const auto close = stat.rfind(')');
        if (close == std::string::npos || close + 4 > stat.size()) continue;
        // After "pid (comm) " come the state and the parent's pid.
        if (stat[close + 2] == 'Z') continue;
        // Ours when this process is among its ancestors: the web processes run in a sandbox that
        // is itself our child.
        if (!descendsFromUs(std::stol(stat.substr(close + 4)))) continue;
        std::ifstream cmdFile("/proc/" + name + "/cmdline");
        std::string program;
        std::getline(cmdFile, program, '\0');
        if (program.substr(program.rfind('/') + 1) == wanted) found.insert(std::stoi(name));
    }
    closedir(proc);
    return found;
}

// Sends `signal` to each of `pids`.
inline void signalAll(const std::set<pid_t>& pids, int signal) {
    for (pid_t pid : pids)
        kill(pid, signal);
}

// Stops the web process behind `view` (SIGSTOP) and returns its pid, or 0 when none could be told
// apart: each web process of ours is stopped in turn until the view no longer runs a script.
inline pid_t stopWebProcessOf(WebKitWebView* view) {
    for (pid_t pid : engineProcesses(EngineProcess::web)) {
        kill(pid, SIGSTOP);
        // The answer may come long after this returns (when the process goes on or is ended).
        auto answered = std::make_shared<bool>(false);
        webkit_web_view_evaluate_javascript(
            view, "1", -1, nullptr, nullptr, nullptr,
            [](GObject*, GAsyncResult*, gpointer data) {
                const std::unique_ptr<std::shared_ptr<bool>> flag(static_cast<std::shared_ptr<bool>*>(data));
                **flag = true;
            },
            std::make_unique<std::shared_ptr<bool>>(answered).release());
        if (!runLoopUntil([&] { return *answered; }, std::chrono::milliseconds(1500))) return pid;
        kill(pid, SIGCONT);
    }
    return 0;
}

} // namespace ostrel::test