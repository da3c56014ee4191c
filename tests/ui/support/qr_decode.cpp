#include "qr_decode.h"

#include "base/gobject_ptr.h"

#include <glib.h>

namespace ostrel::test {

std::optional<std::string> decodeQr(const std::string& path) {
    const char* argv[] = {"zbarimg",         "--quiet",    "--raw", "-Sdisable",
                          "-Sqrcode.enable", path.c_str(), nullptr};
    char* out = nullptr;
    gint status = 0;
    GErrorOut error;
    if (!g_spawn_sync(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr, &out,
                      nullptr, &status, error.out()))
        return std::nullopt;
    const GCharPtr owned(out);
    if (!g_spawn_check_wait_status(status, nullptr) || !out) return std::nullopt;
    std::string text(out);
    if (!text.empty() && text.back() == '\n') text.pop_back(); // --raw ends each symbol with a newline
    return text;
}

} // namespace ostrel::test
