#include "providers/codex_provider.h"

#include "base/service_date.h"
#include "providers/guarded_get.h"
#include "providers/json_util.h"

#include <charconv>
#include <cmath>

namespace ostrel {

namespace {

using nlohmann::json;
using std::chrono::duration;
using std::chrono::milliseconds;

// The widest span a time point can hold either side of 1970 (about 292 years with nanosecond
// ticks), less a second so that rounding a double near the edge cannot step over it.
constexpr double maxEpochSeconds = duration<double>(TimePoint::duration::max()).count() - 1.0;

// Beyond this a window's length in whole hours would not fit a 64-bit integer.
constexpr double maxWindowSeconds = 3600.0 * 9.2e18;

// A "reset_at" number above this is milliseconds since 1970: as seconds it would lie some 30,000
// years ahead.
constexpr double millisecondsThreshold = 1e12;

std::optional<double> numberMember(const json& object, const char* key) {
    const json* v = member(object, key);
    return v ? jsonNumber(*v) : std::nullopt;
}

// Whole milliseconds are the finest the service sends; rounding to them keeps a moment given in
// seconds and the same one given in milliseconds equal.
std::optional<milliseconds> toMillis(double seconds) {
    if (!std::isfinite(seconds) || std::abs(seconds) >= maxEpochSeconds) return std::nullopt;
    return std::chrono::round<milliseconds>(duration<double>(seconds));
}

// `seconds` after 1970-01-01 UTC; no value when that moment cannot be held.
std::optional<TimePoint> atEpochSeconds(double seconds) {
    auto ms = toMillis(seconds);
    if (!ms) return std::nullopt;
    return TimePoint(*ms);
}

// `seconds` after `now`, to the nearest whole minute; no value when that moment cannot be held.
// `now` is when the answer arrived, so the sum moves with each request's latency and with the
// service's own rounding; the minute keeps a reset time that has not changed the same from one
// answer to the next, so it reads as unchanged (and is stored once, not every poll).
std::optional<TimePoint> after(TimePoint now, double seconds) {
    const double nowSeconds = duration<double>(now.time_since_epoch()).count();
    auto ms = toMillis(seconds);
    if (!ms || std::abs(nowSeconds + seconds) >= maxEpochSeconds - 60) return std::nullopt;
    return std::chrono::round<std::chrono::minutes>(now + *ms);
}

// What a window's "reset_at" says. Not given (missing, of another kind, or a number no time point
// holds): the seconds to go decide. Given as text that does not parse: no reset time at all.
struct ResetAt {
    bool given = false;
    std::optional<TimePoint> time;
};

ResetAt readResetAt(const json& window) {
    const json* at = member(window, "reset_at");
    if (!at) return {};
    if (auto t = jsonNumber(*at)) {
        auto when = atEpochSeconds(*t > millisecondsThreshold ? *t / 1000 : *t);
        return {when.has_value(), when};
    }
    if (at->is_string()) return {true, parseServiceDate(at->get<std::string>())};
    return {};
}

// A whole number as decimal text, independent of the user's locale and of integer range.
std::string wholeNumber(double value) {
    char buf[400];
    const auto end = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed, 0);
    return end.ec == std::errc() ? std::string(buf, end.ptr) : std::string("0");
}

} // namespace

std::vector<std::string> CodexProvider::loginDomains(const ServiceConfig& config) {
    return {config.chatgpt.host, config.chatgptAccountDomain};
}

CodexProvider::CodexProvider(std::unique_ptr<WebClient> web, ServiceEndpoint endpoint, const Clock& clock)
    : web_(std::move(web)), endpoint_(std::move(endpoint)), clock_(clock) {}

std::optional<double> CodexProvider::number(const json& value) {
    return jsonNumber(value);
}

std::string CodexProvider::title(double windowSeconds) {
    // Kept in floating point so that no length, however odd, overflows an integer conversion;
    // adding 0.0 turns a rounded -0 into 0.
    const double hours = std::round(windowSeconds / 3600) + 0.0;
    if (hours == 5) return "5-Hour Session";
    if (hours == 168) return "Weekly Limit";
    if (hours >= 672 && hours < 745) return "Monthly Limit";
    if (hours > 47) return wholeNumber(std::trunc(hours / 24)) + "-Day Limit";
    return wholeNumber(hours) + "-Hour Limit";
}

std::optional<CodexProvider::WindowInfo> CodexProvider::window(const json& value, const std::string& id,
                                                               TimePoint now) {
    if (!value.is_object()) return std::nullopt;
    const auto used = numberMember(value, "used_percent");
    if (!used) return std::nullopt;

    // Plain values, not optionals: GCC 12 warns, wrongly, about optionals reassigned here.
    bool hasWindow = false, hasResetAfter = false;
    double window = 0, afterSeconds = 0;
    if (auto w = numberMember(value, "limit_window_seconds"); w && *w >= 0 && *w < maxWindowSeconds) {
        hasWindow = true;
        window = *w;
    }
    std::optional<TimePoint> resetFromAfter;
    if (auto r = numberMember(value, "reset_after_seconds")) {
        resetFromAfter = after(now, *r);
        if (resetFromAfter) {
            hasResetAfter = true;
            afterSeconds = *r;
        }
    }

    const ResetAt at = readResetAt(value);
    const std::optional<TimePoint> reset = at.given ? at.time : resetFromAfter;

    bool notStarted = false;
    if (*used == 0 && hasWindow && hasResetAfter && afterSeconds >= window - 60)
        notStarted = true; // a full window still ahead: nothing has been used in it yet
    else if (reset)
        notStarted = *reset <= now;
    else
        notStarted = *used == 0;

    std::string name = hasWindow ? title(window) : id == "primary" ? "5-Hour Session" : "Weekly Limit";
    return WindowInfo{UsageLimit{id, std::move(name), *used, reset}, notStarted};
}

UsageSnapshot CodexProvider::parse(const json& object, TimePoint now) {
    std::optional<WindowInfo> primary;
    std::optional<WindowInfo> secondary;
    if (const json* limits = member(object, "rate_limit"); limits && limits->is_object()) {
        if (const json* p = member(*limits, "primary_window")) primary = window(*p, "primary", now);
        if (const json* s = member(*limits, "secondary_window")) secondary = window(*s, "secondary", now);
    }
    UsageSnapshot s;
    if (!primary && !secondary) {
        s.message = stringMember(object, "plan_type") == "free" ? "Free plan: no Codex usage to track"
                                                                : "No Codex usage limits on this account";
        return s;
    }
    const WindowInfo& main = primary ? *primary : *secondary;
    if (primary && secondary) s.others.push_back(secondary->limit);
    if (main.notStarted) {
        s.main = UsageLimit{main.limit.id, main.limit.title, 0, std::nullopt};
        s.mainNotStarted = true;
    } else {
        s.main = main.limit;
    }
    return s;
}

Task<std::optional<CodexProvider::Auth>> CodexProvider::findAuth() {
    const HttpResult r =
        co_await guardedGet(web_.get(), endpoint_.host, endpoint_.url("/api/auth/session"), {});
    if (r.code == 401) co_return std::nullopt;
    if (r.code != 200) throw ProviderError::http(r.code, endpoint_.host);
    auto session = tryDecodeJson(r.body);
    if (!session || !session->is_object())
        throw ProviderError::badResponse(endpoint_.host + " sent a page instead of session data");
    auto token = stringMember(*session, "accessToken");
    // A logged-out session answers an empty object.
    if (!token || token->empty()) co_return std::nullopt;
    co_return Auth{std::move(*token), clock_.now()};
}

Task<HttpResult> CodexProvider::requestUsage() {
    if (auth_ && clock_.now() - auth_->fetchedAt > tokenLifetime) auth_.reset();
    if (!auth_) auth_ = co_await findAuth();
    if (!auth_) throw ProviderError::needsLogin();
    Headers headers;
    headers["Authorization"] = "Bearer " + auth_->token;
    co_return co_await guardedGet(web_.get(), endpoint_.host, endpoint_.url("/backend-api/wham/usage"),
                                  std::move(headers));
}

Task<UsageSnapshot> CodexProvider::fetch() {
    HttpResult r = co_await requestUsage();
    if (r.code == 401) {
        // The token was revoked or rotated before its time: read a fresh one and ask once more.
        auth_.reset();
        r = co_await requestUsage();
    }
    switch (r.code) {
    case 200: {
        auto body = tryDecodeJson(r.body);
        if (!body || !body->is_object())
            throw ProviderError::badResponse(endpoint_.host + " sent a page instead of usage data");
        // Every answer of the service names the plan or its limits; an object with neither is not
        // its answer (a deploy's stand-in, a proxy's), and must not replace the numbers shown.
        if (!member(*body, "rate_limit") && !member(*body, "plan_type"))
            throw ProviderError::badResponse("Unexpected response from " + endpoint_.host);
        co_return parse(*body, clock_.now());
    }
    case 401:
        auth_.reset();
        throw ProviderError::needsLogin();
    default:
        throw ProviderError::http(r.code, endpoint_.host);
    }
}

} // namespace ostrel
