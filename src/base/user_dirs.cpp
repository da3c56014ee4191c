// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/user_dirs.h"

#include "base/gobject_ptr.h"

#include <glib.h>

namespace ostrel {

namespace {

std::string home() {
    const char* h = g_getenv("HOME");
    return h && g_path_is_absolute(h) ? h : g_get_home_dir();
}

std::string baseDir(const char* variable, const char* underHome) {
    const char* given = g_getenv(variable);
    if (given && g_path_is_absolute(given)) return given;
    GCharPtr p(g_build_filename(home().c_str(), underHome, nullptr));
    return p.get();
}

} // namespace

std::string userConfigDir() {
    return baseDir("XDG_CONFIG_HOME", ".config");
}

std::string userDataDir() {
    return baseDir("XDG_DATA_HOME", ".local/share");
}

std::string userCacheDir() {
    return baseDir("XDG_CACHE_HOME", ".cache");
}

std::string userStateDir() {
    return baseDir("XDG_STATE_HOME", ".local/state");
}

} // namespace ostrel
