// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The user's base folders, by the XDG base-directory rules: $XDG_CONFIG_HOME and friends when they
// hold an absolute path, else the default under $HOME. A relative value is ignored, as the rules
// require (used as given, it would put logins and history under whatever folder the app was
// started from). Read afresh on every call.

#include <string>

namespace ostrel {

std::string userConfigDir(); // $XDG_CONFIG_HOME, else ~/.config
std::string userDataDir();   // $XDG_DATA_HOME, else ~/.local/share
std::string userCacheDir();  // $XDG_CACHE_HOME, else ~/.cache
std::string userStateDir();  // $XDG_STATE_HOME, else ~/.local/state

} // namespace ostrel
