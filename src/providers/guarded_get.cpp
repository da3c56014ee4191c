#include "providers/guarded_get.h"

#include "base/usage.h"
#include "providers/http_date.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace ostrel {

namespace {

bool looksLikeHtml(const std::string& body) {
    const auto first =
        std::find_if_not(body.begin(), body.end(), [](unsigned char c) { return std::isspace(c); });
    if (first == body.end() || *first != '<') return false;
    std::string head(first, first + std::min<std::ptrdiff_t>(512, body.end() - first));
    std::transform(head.begin(), head.end(), head.begin(), [](unsigned char c) { return std::tolower(c); });
    return head.find("<html") != std::string::npos || head.find("<!doctype html") != std::string::npos;
}

} // namespace

std::optional<std::chrono::seconds> parseRetryAfter(std::string_view text, TimePoint now) {
    constexpr long long aDay = 24 * 3600; // longer is no wait anyone means
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    if (text.empty()) return std::nullopt;
    long long seconds = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (ec == std::errc() && end == text.data() + text.size())
        return seconds < 0 ? std::nullopt : std::optional(std::chrono::seconds(std::min(seconds, aDay)));
    const auto when = parseHttpDate(text);
    if (!when) return std::nullopt;
    const auto ahead = std::chrono::ceil<std::chrono::seconds>(*when - now).count();
    return std::chrono::seconds(std::clamp<long long>(ahead, 0, aDay));
}

std::optional<std::chrono::seconds> parseRetryAfter(std::string_view text) {
    return parseRetryAfter(text, std::chrono::system_clock::now());
}

bool isBotCheck(const HttpResult& r) {
    return (r.code == 403 || r.code == 503) && (r.challenge || looksLikeHtml(r.body));
}

bool isRateLimit(const HttpResult& r) {
    return r.code == 429 || (r.code == 503 && r.retryAfter.has_value());
}

Task<HttpResult> guardedGet(WebClient* web, std::string host, std::string url, Headers headers) {
    HttpResult r = co_await web->get(url, headers);
    if (isBotCheck(r) && !isRateLimit(r)) {
        co_await web->visitSite();
        r = co_await web->get(url, headers);
        if (isBotCheck(r) && !isRateLimit(r)) throw ProviderError::botCheck(host);
    }
    if (isRateLimit(r)) throw ProviderError::rateLimited(host, r.retryAfter);
    co_return r;
}

} // namespace ostrel
