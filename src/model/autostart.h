// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// "Start at login": a desktop entry in the session's autostart folder. The file itself is the
// setting, so a change made outside the app (a session settings tool, a text editor) is what the
// app reads back: a file that is there and not hidden or switched off means on.

#include <optional>
#include <string>

namespace ostrel {

class Autostart {
  public:
    static constexpr const char* fileName = "app.ostrel.Ostrel.desktop";

    // `folder` is the autostart folder; `program` the binary the session starts at login.
    Autostart(std::string folder, std::string program);

    const std::string& path() const { return path_; }
    const std::string& program() const { return program_; }

    // Reads the file every time: another program may have changed it.
    bool enabled() const;
    // Writes (atomically) or removes the entry. On failure returns a message for the user and
    // leaves whatever was there as it was.
    std::optional<std::string> setEnabled(bool on);

  private:
    std::string folder_;
    std::string path_;
    std::string program_;
};

// $XDG_CONFIG_HOME/autostart.
std::string defaultAutostartFolder();
// The autostart folder that goes with a settings file: the session's for the default settings,
// and an "autostart" folder beside any other (the demo's and the tests'), so that those never
// change what the real session starts.
std::string autostartFolderFor(const std::string& settingsPath);

// The installed binary when it is there, else the one running now (a build tree).
std::string autostartProgram(const std::string& installedBinary, const std::string& runningBinary);
std::string installedBinary();
std::string runningBinary();

// `program` as one argument of a desktop entry's Exec line: quoted when it holds a character the
// Exec syntax reserves, and with '%' doubled.
std::string execArgument(const std::string& program);

} // namespace ostrel
