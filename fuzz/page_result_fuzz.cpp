// SPDX-License-Identifier: GPL-3.0-or-later
// What the page-fetch script hands back, judged as a bot check or a rate limit the way every fetch
// judges it; and the Retry-After value inside it, read on its own.
#include "fuzz_input.h"
#include "providers/guarded_get.h"
#include "web/page_result.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace std::chrono;
    const std::string_view text = ostrel::fuzz::text(data, size);
    const auto wait = ostrel::parseRetryAfter(text);
    if (wait && (*wait < 0s || *wait > 24h)) std::abort(); // no negative wait, none past the cap
    try {
        const ostrel::HttpResult r = ostrel::readPageResult(text);
        if (r.code < 100 || r.code > 599) std::abort(); // only an HTTP status is a result
        ostrel::isBotCheck(r);
        ostrel::isRateLimit(r);
    } catch (const ostrel::WebError&) {
    }
    return 0;
}
