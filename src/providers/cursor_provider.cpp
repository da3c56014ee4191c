#include "providers/cursor_provider.h"

#include "base/service_date.h"
#include "providers/guarded_get.h"
#include "providers/json_util.h"

#include <charconv>

namespace ostrel {

namespace {

using nlohmann::json;

std::optional<double> numberMember(const json& object, const char* key) {
    const json* v = member(object, key);
    return v ? jsonNumber(*v) : std::nullopt;
}

// Only a real JSON true: a number or text in a Boolean's place counts as absent.
bool isTrue(const json& object, const char* key) {
    const json* v = member(object, key);
    return v && v->is_boolean() && v->get<bool>();
}

// `object[key]` when it is an object.
const json* objectMember(const json& object, const char* key) {
    const json* v = member(object, key);
    return v && v->is_object() ? v : nullptr;
}

std::optional<std::string> noteFor(const json& usage) {
    const json* onDemand = objectMember(usage, "onDemand");
    if (!onDemand || !isTrue(*onDemand, "enabled")) return std::nullopt;
    const auto used = numberMember(*onDemand, "used");
    if (!used || !(*used > 0)) return std::nullopt;
    return CursorProvider::onDemandNote(*used);
}

// Whether an object is the usage summary at all: it always carries at least one of these.
bool looksLikeUsage(const json& object) {
    for (const char* key : {"isUnlimited", "individualUsage", "membershipType", "billingCycleEnd"})
        if (member(object, key)) return true;
    return false;
}

} // namespace

std::vector<std::string> CursorProvider::loginDomains(const ServiceConfig& config) {
    return {config.cursor.host, config.cursorOlderDomain};
}

CursorProvider::CursorProvider(std::unique_ptr<WebClient> web, ServiceEndpoint endpoint, const Clock&)
    : web_(std::move(web)), endpoint_(std::move(endpoint)) {}

std::optional<double> CursorProvider::number(const json& value) {
    return jsonNumber(value);
}

std::string CursorProvider::onDemandNote(double cents) {
    // to_chars rounds like printf's "%.2f" but never uses the locale's decimal comma.
    char buf[400];
    const auto end = std::to_chars(buf, buf + sizeof buf, cents / 100, std::chars_format::fixed, 2);
    const std::string amount = end.ec == std::errc() ? std::string(buf, end.ptr) : std::string("0.00");
    return "$" + amount + " on-demand this cycle";
}

UsageSnapshot CursorProvider::parse(const json& object) {
    UsageSnapshot s;
    if (isTrue(object, "isUnlimited")) {
        s.message = "Unlimited plan: nothing to track";
        return s;
    }
    const auto cycleEnd = stringMember(object, "billingCycleEnd");
    const std::optional<TimePoint> reset = cycleEnd ? parseServiceDate(*cycleEnd) : std::nullopt;

    const json* usage = objectMember(object, "individualUsage");
    const json* plan = usage ? objectMember(*usage, "plan") : nullptr;
    const auto limit = plan ? numberMember(*plan, "limit") : std::nullopt;
    if (limit && *limit > 0) {
        const auto autoPercent = numberMember(*plan, "autoPercentUsed");
        const auto apiPercent = numberMember(*plan, "apiPercentUsed");
        UsageLimit main{"monthly", "Included usage", 0, reset};
        // Two pools fill independently; the busier one runs out first.
        if (autoPercent && apiPercent) {
            const bool autoBusier = *autoPercent > *apiPercent;
            main.title = autoBusier ? "Auto pool" : "API pool";
            main.percentUsed = autoBusier ? *autoPercent : *apiPercent;
        } else {
            main.percentUsed = numberMember(*plan, "totalPercentUsed").value_or(0);
        }
        s.main = std::move(main);
        s.note = noteFor(*usage);
        return s;
    }
    s.message = stringMember(object, "membershipType") == "free" ? "Free plan: no included usage to track"
                                                                 : "No included usage on this plan";
    return s;
}

Task<UsageSnapshot> CursorProvider::fetch() {
    if (!co_await web_->hasCookie(sessionCookie)) throw ProviderError::needsLogin();
    const HttpResult r =
        co_await guardedGet(web_.get(), endpoint_.host, endpoint_.url("/api/usage-summary"), {});
    switch (r.code) {
    case 200: {
        // A page in place of JSON (the site's app shell while it deploys, a proxy's notice) says
        // nothing about the login, which the cookie check above vouched for; nor does an object
        // without any of the members the service always sends.
        auto body = tryDecodeJson(r.body);
        if (!body || !body->is_object() || !looksLikeUsage(*body))
            throw ProviderError::badResponse("Unexpected response from " + endpoint_.host);
        co_return parse(*body);
    }
    case 401:
    case 403:
        throw ProviderError::needsLogin();
    default:
        throw ProviderError::http(r.code, endpoint_.host);
    }
}

} // namespace ostrel
