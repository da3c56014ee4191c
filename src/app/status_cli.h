#pragma once
// `ostrel status`: prints the running app's status, read over D-Bus, without fetching anything.
//   ostrel status                    the tray's spoken text, one line
//   ostrel status --json             the status document
//   ostrel status --waybar           one line of a bar's custom-module JSON
//   ostrel status --waybar --follow  that line at start and again at every change
// `ostrel --demo status` asks the demo instance. With no instance running, or one still starting, it
// says so on standard error and exits with status 3. A follower outlives the app: while the app is
// away it prints one "not running" line (waybar class "not-running") and goes on when the app is
// back; it ends when its reader goes away. Every D-Bus call is bounded.

#include <gio/gio.h>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

struct StatusRequest {
    enum class Format { text, json, waybar };
    Format format = Format::text;
    bool follow = false;
    std::string busName = "app.ostrel.Ostrel";
    // With `follow`: where the lines go, watched so that a reader that went away ends the command
    // even before there is a line to write (-1: only a failed write tells).
    int outputFd = -1;
};

inline constexpr int statusNotRunning = 3;

// The options after "status"; none (and a message in `error`) when they do not make sense.
std::optional<StatusRequest> parseStatusArgs(const std::vector<std::string>& args, std::string& error);

// Runs the command against `bus` (null: the session bus); returns the exit status. With `follow`,
// it runs until its output cannot be written (1) or `stop` is cancelled (0).
int runStatus(const StatusRequest& request, GDBusConnection* bus, std::ostream& out, std::ostream& err,
              GCancellable* stop = nullptr);

} // namespace ostrel
