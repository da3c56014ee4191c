// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/autostart.h"

#include "base/gobject_ptr.h"
#include "base/user_dirs.h"

#include <cerrno>
#include <glib/gstdio.h>
#include <string_view>

namespace ostrel {

namespace {
constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;

std::string fileError(const std::string& what, int error) {
    return what + " (" + g_strerror(error) + ")";
}

// The key is there and reads false (a missing key is not false).
bool isSetFalse(GKeyFile* file, const char* key) {
    GErrorOut err;
    const gboolean value = g_key_file_get_boolean(file, group, key, err.out());
    return !err && !value;
}
} // namespace

Autostart::Autostart(std::string folder, std::string program)
    : folder_(std::move(folder)), path_(folder_ + "/" + fileName), program_(std::move(program)) {}

bool Autostart::enabled() const {
    GKeyFilePtr file(g_key_file_new());
    // A file the session cannot read starts nothing either.
    if (!g_key_file_load_from_file(file.get(), path_.c_str(), G_KEY_FILE_NONE, nullptr)) return false;
    if (g_key_file_get_boolean(file.get(), group, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr)) return false;
    // GNOME's session honours its own switch too; a file turned off there reads off here.
    return !isSetFalse(file.get(), "X-GNOME-Autostart-enabled");
}

std::optional<std::string> Autostart::setEnabled(bool on) {
    if (!on) {
        if (g_remove(path_.c_str()) == 0) return std::nullopt;
        const int error = errno;
        if (error == ENOENT) return std::nullopt; // already off
        return fileError("Could not turn off start at login: " + path_ + " could not be removed", error);
    }

    if (g_mkdir_with_parents(folder_.c_str(), 0700) != 0) {
        const int error = errno;
        return fileError("Could not turn on start at login: the folder " + folder_ + " could not be created",
                         error);
    }
    GKeyFilePtr file(g_key_file_new());
    g_key_file_set_string(file.get(), group, G_KEY_FILE_DESKTOP_KEY_TYPE,
                          G_KEY_FILE_DESKTOP_TYPE_APPLICATION);
    g_key_file_set_string(file.get(), group, G_KEY_FILE_DESKTOP_KEY_NAME, "Ostrel");
    g_key_file_set_string(file.get(), group, G_KEY_FILE_DESKTOP_KEY_COMMENT,
                          "See how much of your Claude, Cursor and Codex allowance is left");
    g_key_file_set_string(file.get(), group, G_KEY_FILE_DESKTOP_KEY_EXEC, execArgument(program_).c_str());
    g_key_file_set_string(file.get(), group, G_KEY_FILE_DESKTOP_KEY_ICON, "app.ostrel.Ostrel");
    g_key_file_set_boolean(file.get(), group, G_KEY_FILE_DESKTOP_KEY_TERMINAL, FALSE);
    g_key_file_set_boolean(file.get(), group, "X-GNOME-Autostart-enabled", TRUE);
    gsize length = 0;
    GCharPtr data(g_key_file_to_data(file.get(), &length, nullptr));
    GErrorOut err;
    if (!g_file_set_contents_full(path_.c_str(), data.get(), static_cast<gssize>(length),
                                  G_FILE_SET_CONTENTS_CONSISTENT, 0644, err.out()))
        return "Could not turn on start at login: " + err.message();
    return std::nullopt;
}

std::string defaultAutostartFolder() {
    GCharPtr p(g_build_filename(userConfigDir().c_str(), "autostart", nullptr));
    return p.get();
}

std::string autostartFolderFor(const std::string& settingsPath) {
    GCharPtr ours(g_build_filename(userConfigDir().c_str(), "ostrel", "settings.ini", nullptr));
    if (settingsPath == ours.get()) return defaultAutostartFolder();
    GCharPtr dir(g_path_get_dirname(settingsPath.c_str()));
    GCharPtr p(g_build_filename(dir.get(), "autostart", nullptr));
    return p.get();
}

std::string autostartProgram(const std::string& installed, const std::string& running) {
    if (!installed.empty() && g_file_test(installed.c_str(), G_FILE_TEST_IS_EXECUTABLE) &&
        !g_file_test(installed.c_str(), G_FILE_TEST_IS_DIR))
        return installed;
    return running;
}

std::string installedBinary() {
#ifdef OSTREL_INSTALLED_BINARY
    return OSTREL_INSTALLED_BINARY;
#else
    return {};
#endif
}

std::string runningBinary() {
    GCharPtr target(g_file_read_link("/proc/self/exe", nullptr));
    if (!target) return "ostrel"; // no /proc: leave it to the session's search path
    std::string path = target.get();
    // A binary replaced while running (a rebuild, an upgrade) reads back with this suffix; the new
    // one is at the same place.
    constexpr std::string_view deleted = " (deleted)";
    if (path.ends_with(deleted)) path.resize(path.size() - deleted.size());
    return path;
}

std::string execArgument(const std::string& program) {
    constexpr std::string_view reserved = " \t\n\"'\\><~|&;$*?#()`";
    std::string out;
    const bool quote = program.find_first_of(reserved) != std::string::npos;
    if (quote) out += '"';
    for (char c : program) {
        if (quote && (c == '"' || c == '`' || c == '$' || c == '\\')) out += '\\';
        if (c == '%') out += '%';
        out += c;
    }
    if (quote) out += '"';
    return out;
}

} // namespace ostrel
