#include "providers/claude_provider.h"

#include "base/service_date.h"
#include "providers/guarded_get.h"
#include "providers/json_util.h"

#include <cctype>

namespace ostrel {

namespace {

using nlohmann::json;

struct Entry {
    std::string group;
    UsageLimit limit;
};

// "weekly_opus" → "Weekly Opus": blanks for underscores, each word capitalised.
std::string capitalized(std::string text) {
    bool startOfWord = true;
    for (char& c : text) {
        if (c == '_') c = ' ';
        const auto u = static_cast<unsigned char>(c);
        if (std::isspace(u)) {
            startOfWord = true;
            continue;
        }
        c = static_cast<char>(startOfWord ? std::toupper(u) : std::tolower(u));
        startOfWord = false;
    }
    return text;
}

std::optional<TimePoint> resetTime(const json& object) {
    auto text = stringMember(object, "resets_at");
    return text ? parseServiceDate(*text) : std::nullopt;
}

std::vector<Entry> currentFormat(const json& limits) {
    std::vector<Entry> out;
    for (const json& e : limits) {
        auto kind = stringMember(e, "kind");
        const json* percentValue = member(e, "percent");
        auto percent = percentValue ? jsonNumber(*percentValue) : std::nullopt;
        if (!kind || !percent) continue;
        const std::string group = stringMember(e, "group").value_or(*kind);
        std::string scope = stringMember(e, "scope").value_or("");
        UsageLimit limit;
        limit.id = scope.empty() ? *kind : *kind + ":" + scope;
        if (*kind == "session")
            limit.title = "5-Hour Session";
        else if (scope.empty())
            limit.title = *kind == "weekly_all" ? "Weekly Limit" : capitalized(*kind);
        else
            limit.title = group == "weekly" ? "Weekly " + capitalized(scope) : capitalized(scope);
        limit.percentUsed = *percent;
        limit.resetsAt = resetTime(e);
        out.push_back({group, std::move(limit)});
    }
    return out;
}

std::vector<Entry> earlierFormat(const json& object) {
    struct Fixed {
        const char* key;
        const char* id;
        const char* group;
        const char* title;
    };
    static const Fixed fixed[] = {{"five_hour", "session", "session", "5-Hour Session"},
                                  {"seven_day", "weekly_all", "weekly", "Weekly Limit"}};
    std::vector<Entry> out;
    for (const Fixed& f : fixed) {
        const json* v = member(object, f.key);
        if (!v || !v->is_object()) continue;
        const json* utilization = member(*v, "utilization");
        auto used = utilization ? jsonNumber(*utilization) : std::nullopt;
        if (!used) continue;
        out.push_back({f.group, UsageLimit{f.id, f.title, *used, resetTime(*v)}});
    }
    return out;
}

// Whether an object is a usage answer in either format; one with neither would read as "no
// limits" and replace the numbers shown.
bool hasLimits(const json& object) {
    for (const char* key : {"limits", "five_hour", "seven_day"})
        if (member(object, key)) return true;
    return false;
}

bool usableLimitsList(const json* limits) {
    if (!limits || !limits->is_array() || limits->empty()) return false;
    for (const json& e : *limits)
        if (!e.is_object()) return false;
    return true;
}

} // namespace

ClaudeProvider::ClaudeProvider(std::unique_ptr<WebClient> web, ServiceEndpoint endpoint, const Clock& clock)
    : web_(std::move(web)), endpoint_(std::move(endpoint)), clock_(clock) {}

UsageSnapshot ClaudeProvider::parse(const json& object, TimePoint now) {
    const json* limits = member(object, "limits");
    const std::vector<Entry> entries =
        usableLimitsList(limits) ? currentFormat(*limits) : earlierFormat(object);
    UsageSnapshot s;
    if (entries.empty()) return s;

    const UsageLimit* session = nullptr;
    for (const Entry& e : entries) {
        if (e.group != "session")
            s.others.push_back(e.limit);
        else if (!session)
            session = &e.limit;
    }
    const bool notStarted = !session || (!session->resetsAt && session->percentUsed == 0) ||
                            (session->resetsAt && *session->resetsAt <= now);
    if (notStarted) {
        s.main = UsageLimit{"session", "5-Hour Session", 0, std::nullopt};
        s.mainNotStarted = true;
    } else {
        s.main = *session;
    }
    return s;
}

ProviderError ClaudeProvider::unexpected() const {
    return ProviderError::badResponse("Unexpected response from " + endpoint_.host);
}

Task<std::optional<std::string>> ClaudeProvider::findUsageURL() {
    const HttpResult r =
        co_await guardedGet(web_.get(), endpoint_.host, endpoint_.url("/api/organizations"), {});
    if (r.code == 401 || r.code == 403) co_return std::nullopt;
    if (r.code != 200) throw ProviderError::http(r.code, endpoint_.host);
    // Anything but a list is not the service's answer (an app shell while the site deploys): it
    // says nothing about the login. An empty list, or no usable first entry, means no account.
    auto orgs = tryDecodeJson(r.body);
    if (!orgs || !orgs->is_array()) throw unexpected();
    if (orgs->empty()) co_return std::nullopt;
    auto uuid = stringMember(orgs->front(), "uuid");
    if (!uuid) co_return std::nullopt;
    co_return endpoint_.url("/api/organizations/" + *uuid + "/usage");
}

Task<UsageSnapshot> ClaudeProvider::fetch() {
    if (!usageURL_) usageURL_ = co_await findUsageURL();
    if (!usageURL_) throw ProviderError::needsLogin();
    const HttpResult r = co_await guardedGet(web_.get(), endpoint_.host, *usageURL_, {});
    switch (r.code) {
    case 200: {
        const json body = decodeJson(r.body);
        if (!body.is_object() || !hasLimits(body)) throw unexpected();
        co_return parse(body, clock_.now());
    }
    case 401:
    case 403:
        usageURL_.reset();
        throw ProviderError::needsLogin();
    case 404:
        // The organization may have changed: discover it again next time.
        usageURL_.reset();
        throw ProviderError::http(404, endpoint_.host);
    default:
        throw ProviderError::http(r.code, endpoint_.host);
    }
}

} // namespace ostrel
