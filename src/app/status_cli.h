#pragma once
// `ostrel status`: prints the running app's status, read over D-Bus, without fetching anything.
//   ostrel status                    the tray's spoken text, one line
//   ostrel status --json             the status document
//   ostrel status --waybar           one line of a bar's custom-module JSON
//   ostrel status --waybar --follow  that line at start and again at every change
// `ostrel --demo status` asks the demo instance. With no instance running it says so on standard
// error and exits with status 3. Every D-Bus call is bounded.

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
};

inline constexpr int statusNotRunning = 3;

// The options after "status"; none (and a message in `error`) when they do not make sense.
std::optional<StatusRequest> parseStatusArgs(const std::vector<std::string>& args, std::string& error);

// Runs the command against `bus` (null: the session bus); returns the exit status. With `follow`,
// it runs until the app goes away or `stop` is cancelled.
int runStatus(const StatusRequest& request, GDBusConnection* bus, std::ostream& out, std::ostream& err,
              GCancellable* stop = nullptr);

} // namespace ostrel
