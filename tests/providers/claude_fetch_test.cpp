#include "async/loop.h"
#include "providers/claude_provider.h"
#include "providers/guarded_get.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

const HttpResult orgs = http(200, R"([{"uuid":"org-1"},{"uuid":"org-2"}])");
const HttpResult usage = http(200, R"({"five_hour":{"utilization":40,"resets_at":"2099-01-01T00:00:00Z"}})");
const std::string wallPage = "<!DOCTYPE html><html><title>Just a moment...</title></html>";

using ClaudeFetch = ScriptedProviderTest<ClaudeProvider>;

} // namespace

TEST_F(ClaudeFetch, DiscoversTheFirstOrganizationOnceAndKeepsIt) {
    EXPECT_EQ(fetchWith({orgs, usage}), "no error");
    EXPECT_EQ(web->calls[1].url, "https://service.test/api/organizations/org-1/usage");
    EXPECT_EQ(fetchWith({usage}), "no error");
    EXPECT_EQ(web->calls[0].url, "https://service.test/api/organizations/org-1/usage");
}

// Each row starts without a known organization. Only a log-out or a 404 (the organization may have
// changed) forgets it; a bot check or a rate limit is not the service's answer and loses nothing.
TEST_F(ClaudeFetch, AnswersAndWhetherTheOrganizationIsKept) {
    const HttpResult wall = http(403, wallPage);
    struct Row {
        std::vector<HttpResult> answers;
        std::string error;
        bool keepsOrg;
    };
    const Row rows[] = {
        // Organizations refused, or none usable: not logged in, without a usage request.
        {{http(401)}, "Not logged in", false},
        {{http(403)}, "Not logged in", false},
        {{http(500)}, "HTTP 500 from service.test", false},
        {{http(200, "[]")}, "Not logged in", false},
        // A 200 that is not the list (the app shell while the site deploys) is no log-out.
        {{http(200, "<!doctype html><html><div id=root>")}, "Unexpected response from service.test", false},
        {{http(200, R"({"error":"busy"})")}, "Unexpected response from service.test", false},
        {{http(200, R"([{"name":"x"}])")}, "Not logged in", false},
        {{orgs, http(401)}, "Not logged in", false},
        {{orgs, http(403, "{}")}, "Not logged in", false},
        {{orgs, http(404)}, "HTTP 404 from service.test", false},
        {{orgs, http(500)}, "HTTP 500 from service.test", true},
        {{orgs, http(200, "[1,2]")}, "Unexpected response from service.test", true},
        {{orgs, http(200, "<html>")}, "The data couldn't be read because it isn't valid JSON", true},
        {{orgs, http(200, R"({"type":"error"})")}, "Unexpected response from service.test", true},
        {{orgs, http(0, "Page: a | Direct: b")}, "Page: a | Direct: b", true},
        // One full visit of the site lets its check run; still walled after it, a bot check.
        {{orgs, wall, usage}, "no error", true},
        {{orgs, wall, http(503, wallPage)}, "Blocked by service.test's bot check", true},
        {{orgs, http(403, "", {}, true), wall}, "Blocked by service.test's bot check", true},
        // 429 always, 503 only when it says when to come back; the wait comes along.
        {{orgs, http(429, "", 120s)}, "Rate limited by service.test for 120s", true},
        {{orgs, http(503, wallPage, 120s)}, "Rate limited by service.test for 120s", true},
        {{orgs, http(503)}, "HTTP 503 from service.test", true},
    };
    for (const Row& row : rows) {
        provider->reset();
        EXPECT_EQ(fetchWith(row.answers), row.error) << row.answers.back().code << row.answers.back().body;
        EXPECT_EQ(provider->usageURL().has_value(), row.keepsOrg) << row.error;
    }
    EXPECT_EQ(web->siteVisits, 3);
}

// Both forms a server may use: seconds, or a date (in any of HTTP's three date forms).
TEST(RetryAfter, SecondsAndDatesAreRead) {
    using namespace std::chrono;
    const TimePoint now = sys_days(year(2015) / 10 / 21) + 7h + 20min;
    const std::pair<const char*, std::optional<seconds>> rows[] = {
        {"120", 120s},
        {" 5 ", 5s},
        {"99999999", 24h},
        {"Wed, 21 Oct 2015 07:28:00 GMT", 480s},
        {"Wednesday, 21-Oct-15 07:28:00 GMT", 480s},
        {"Wed Oct 21 07:28:00 2015", 480s},
        {"Wed, 21 Oct 2015 07:19:00 GMT", 0s},  // already past: no wait
        {"Sat, 21 Oct 2017 07:28:00 GMT", 24h}, // beyond a day: a day
        {"", std::nullopt},
        {"-1", std::nullopt},
        {"soon", std::nullopt},
        {"1.5", std::nullopt},
        {"Wed, 32 Oct 2015 07:28:00 GMT", std::nullopt},
        {"Wed, 29 Feb 2015 07:28:00 GMT", std::nullopt},
        {"Wed, 21 Oct 2015 24:28:00 GMT", std::nullopt},
        {"Wed, 21 Oct 2015 07:28:00 PST", std::nullopt},
        {"Wed, 21 Okt 2015 07:28:00 GMT", std::nullopt},
        {"Wed, 21 Oct 2015 07:28 GMT", std::nullopt},
    };
    for (const auto& [text, wait] : rows)
        EXPECT_EQ(parseRetryAfter(text, now), wait) << text;
}
