// SPDX-License-Identifier: GPL-3.0-or-later
#include "web/url_rules.h"

#include <algorithm>
#include <cctype>
#include <glib.h>
#include <memory>

namespace ostrel {

namespace {
struct UriDeleter {
    void operator()(GUri* u) const { g_uri_unref(u); }
};
using UriPtr = std::unique_ptr<GUri, UriDeleter>;

UriPtr parse(std::string_view url) {
    return UriPtr(g_uri_parse(std::string(url).c_str(), G_URI_FLAGS_ENCODED, nullptr));
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}
} // namespace

std::string hostOf(std::string_view url) {
    const UriPtr parsed = parse(url);
    return parsed && g_uri_get_host(parsed.get()) ? g_uri_get_host(parsed.get()) : "";
}

std::string originOf(std::string_view url) {
    const UriPtr parsed = parse(url);
    if (!parsed) return std::string(url);
    const int port = g_uri_get_port(parsed.get());
    return std::string(g_uri_get_scheme(parsed.get())) + "://" +
           (g_uri_get_host(parsed.get()) ? g_uri_get_host(parsed.get()) : "") +
           (port > 0 ? ":" + std::to_string(port) : "");
}

bool isLoopback(std::string_view host) {
    if (equalsIgnoringCase(host, "localhost") || host == "::1" || host == "[::1]") return true;
    // A dotted IPv4 address in 127.0.0.0/8: four numbers, the first 127.
    if (!host.starts_with("127.")) return false;
    int parts = 0;
    for (std::size_t i = 0; i < host.size();) {
        std::size_t j = i;
        while (j < host.size() && std::isdigit(static_cast<unsigned char>(host[j])))
            ++j;
        if (j == i || j - i > 3 || std::stoi(std::string(host.substr(i, j - i))) > 255) return false;
        ++parts;
        if (j == host.size()) break;
        if (host[j] != '.') return false;
        i = j + 1;
        if (i == host.size()) return false;
    }
    return parts == 4;
}

bool cookieMayGo(bool secure, std::string_view scheme, std::string_view host) {
    return !secure || equalsIgnoringCase(scheme, "https") || isLoopback(host);
}

} // namespace ostrel
