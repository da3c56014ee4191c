// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Small rules about addresses that the web session applies before anything leaves for a host.

#include <string>
#include <string_view>

namespace ostrel {

// The host of an absolute URL ("" when it has none or cannot be read).
std::string hostOf(std::string_view url);
// "scheme://host[:port]" of a URL, or the URL itself when it cannot be read.
std::string originOf(std::string_view url);
// 127.0.0.0/8, ::1 and "localhost": addresses that never leave the machine.
bool isLoopback(std::string_view host);
// Whether a cookie may go with a request: a Secure cookie only over https. Loopback hosts count as
// secure, as browsers treat them: the stand-in services run there over plain http, and nothing
// sent to them leaves the machine.
bool cookieMayGo(bool secure, std::string_view scheme, std::string_view host);

} // namespace ostrel
