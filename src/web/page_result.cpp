// SPDX-License-Identifier: GPL-3.0-or-later
#include "web/page_result.h"

#include "providers/guarded_get.h"
#include "web/url_rules.h"

#include <glib.h>
#include <nlohmann/json.hpp>

namespace ostrel {

HttpResult readPageResult(std::string_view text, std::string_view host) {
    const nlohmann::json parsed = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
    // A status is a whole number an HTTP answer can carry: a float out of int's range converts with
    // undefined behaviour, and a huge integer would wrap into something that looks like a status.
    const auto code = parsed.is_object() ? parsed.find("code") : parsed.end();
    const auto body = parsed.is_object() ? parsed.find("body") : parsed.end();
    if (code == parsed.end() || body == parsed.end() || !code->is_number_integer() || !body->is_string())
        throw WebError("Unexpected result from page");
    const auto value = code->get<long long>();
    if (value == -1) throw WebError(body->get<std::string>());
    if (value < 100 || value > 599) throw WebError("Unexpected result from page");
    // A request the page's redirect took to another host answered for that host, not the service.
    if (auto it = parsed.find("url"); !host.empty() && it != parsed.end() && it->is_string()) {
        const std::string from = hostOf(it->get<std::string>());
        if (!from.empty() && g_ascii_strcasecmp(from.c_str(), std::string(host).c_str()) != 0)
            throw WebError("Redirected to another host: " + from);
    }
    HttpResult r;
    r.code = static_cast<int>(value);
    r.body = body->get<std::string>();
    // The two headers that tell a rate limit and a bot check apart (null when the answer has none).
    if (auto it = parsed.find("retryAfter"); it != parsed.end() && it->is_string())
        r.retryAfter = parseRetryAfter(it->get<std::string>());
    if (auto it = parsed.find("mitigated"); it != parsed.end() && it->is_string())
        r.challenge = it->get<std::string>() == "challenge";
    return r;
}

} // namespace ostrel
