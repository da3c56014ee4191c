#include "async/loop.h"
#include "providers/claude_provider.h"
#include "providers/guarded_get.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

const char* orgs = R"([{"uuid":"org-1"},{"uuid":"org-2"}])";
const char* usage = R"({"five_hour":{"utilization":40,"resets_at":"2099-01-01T00:00:00Z"}})";

class ClaudeFetch : public ScriptedProviderTest<ClaudeProvider> {
  protected:
    ClaudeFetch() : ScriptedProviderTest("claude.test") {}
};

} // namespace

TEST_F(ClaudeFetch, DiscoversTheFirstOrganizationOnceAndKeepsIt) {
    web->answer(200, orgs);
    web->answer(200, usage);
    web->answer(200, usage);
    EXPECT_EQ(fetch().main->percentUsed, 40);
    fetch();
    ASSERT_EQ(web->calls.size(), 3u);
    EXPECT_EQ(web->calls[0].url, "https://claude.test/api/organizations");
    EXPECT_EQ(web->calls[1].url, "https://claude.test/api/organizations/org-1/usage");
    EXPECT_EQ(web->calls[2].url, web->calls[1].url);
    EXPECT_TRUE(web->calls[1].headers.empty());
}

TEST_F(ClaudeFetch, A404RediscoversButA500DoesNot) {
    web->answer(200, orgs);
    web->answer(500, "");
    EXPECT_EQ(fetchError(), "HTTP 500 from claude.test");
    web->answer(404, "");
    EXPECT_EQ(fetchError(), "HTTP 404 from claude.test");
    EXPECT_FALSE(provider->usageURL());
    web->answer(200, orgs);
    web->answer(200, usage);
    fetch();
    ASSERT_EQ(web->calls.size(), 5u);
    EXPECT_EQ(web->calls[3].url, "https://claude.test/api/organizations");
}

TEST_F(ClaudeFetch, LoginErrorsDropTheCachedURL) {
    for (int code : {401, 403}) {
        web->answer(200, orgs);
        web->answer(code, "");
        EXPECT_EQ(fetchError(), "Not logged in");
        EXPECT_FALSE(provider->usageURL());
    }
    // Organizations refused, or none usable: not logged in, without a second request.
    for (const char* body : {"[]", "{}", "<html>", R"([{"name":"x"}])", R"([{"uuid":7}])"}) {
        web->calls.clear();
        web->answer(200, body);
        EXPECT_EQ(fetchError(), "Not logged in") << body;
        EXPECT_EQ(web->calls.size(), 1u);
    }
    web->answer(403, R"({"type":"error"})");
    EXPECT_EQ(fetchError(), "Not logged in");
    web->answer(502, "");
    EXPECT_EQ(fetchError(), "HTTP 502 from claude.test");
}

TEST_F(ClaudeFetch, ABadBodyKeepsTheOrganizationAndResetForgetsIt) {
    web->answer(200, orgs);
    web->answer(200, "[1,2]");
    EXPECT_EQ(fetchError(), "Unexpected response from claude.test");
    EXPECT_TRUE(provider->usageURL()) << "a bad body does not forget the organization";
    web->answerWith([](const ScriptedWeb::Call&) -> HttpResult { throw WebError("Page: a | Direct: b"); });
    EXPECT_EQ(fetchError(), "Page: a | Direct: b") << "web errors pass through";
    provider->reset();
    EXPECT_FALSE(provider->usageURL());
}

// The site's bot check and a rate limit are not the service's answers: neither is a log-out, and
// neither loses what the provider knows about the account.
TEST_F(ClaudeFetch, BotChecksAndRateLimitsAreTheirOwnErrors) {
    const char* wall = "<!DOCTYPE html><html><title>Just a moment...</title></html>";
    auto kindOfFailure = [this] {
        try {
            fetch();
        } catch (const ProviderError& e) {
            return e.kind();
        }
        return ProviderError::Kind::http;
    };
    web->answer(200, orgs);
    web->answer(200, usage);
    fetch();
    // One full visit of the site lets its check run; the retry then passes.
    web->answer(403, wall);
    web->answer(200, usage);
    EXPECT_EQ(fetch().main->percentUsed, 40);
    EXPECT_EQ(web->siteVisits, 1);
    // Still walled after the visit: a bot check, and the organization is kept.
    web->answer(403, wall);
    web->answer(503, wall);
    EXPECT_EQ(fetchError(), "Blocked by claude.test's bot check");
    EXPECT_TRUE(provider->usageURL());
    web->answerWith([](const ScriptedWeb::Call&) {
        HttpResult r;
        r.code = 403;
        r.challenge = true; // marked by the site even without a page
        return r;
    });
    web->answer(403, wall);
    EXPECT_EQ(kindOfFailure(), ProviderError::Kind::botCheck);
    // 429 always, 503 only when it says when to come back; the wait comes along.
    for (int code : {429, 503}) {
        web->answerWith([code](const ScriptedWeb::Call&) {
            HttpResult r;
            r.code = code;
            r.retryAfter = std::chrono::seconds(120);
            return r;
        });
        try {
            fetch();
            ADD_FAILURE() << code << " did not fail";
        } catch (const ProviderError& e) {
            EXPECT_EQ(e.kind(), ProviderError::Kind::rateLimited) << code;
            EXPECT_EQ(e.retryAfter(), std::chrono::seconds(120)) << code;
        }
    }
    web->answer(503, "");
    EXPECT_EQ(fetchError(), "HTTP 503 from claude.test");
    EXPECT_TRUE(provider->usageURL());
}

TEST(RetryAfter, OnlyWholeSecondsAreRead) {
    EXPECT_EQ(parseRetryAfter("120"), std::chrono::seconds(120));
    EXPECT_EQ(parseRetryAfter(" 5 "), std::chrono::seconds(5));
    EXPECT_EQ(parseRetryAfter("99999999"), std::chrono::seconds(24 * 3600)) << "capped at a day";
    for (const char* bad : {"", "-1", "soon", "1.5", "Wed, 21 Oct 2015 07:28:00 GMT"})
        EXPECT_EQ(parseRetryAfter(bad), std::nullopt) << bad;
}
