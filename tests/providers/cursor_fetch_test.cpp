#include "async/loop.h"
#include "providers/cursor_provider.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

class CursorFetch : public ScriptedProviderTest<CursorProvider> {
  protected:
    CursorFetch() : ScriptedProviderTest("cursor.test") {}
};

} // namespace

TEST_F(CursorFetch, WithoutTheSessionCookieNothingIsAsked) {
    web->hasCookieResult = false;
    EXPECT_EQ(fetchError(), "Not logged in");
    EXPECT_EQ(web->cookieChecks, std::vector<std::string>{"WorkosCursorSessionToken"});
    EXPECT_TRUE(web->calls.empty());
}

TEST_F(CursorFetch, ReadsTheUsageSummary) {
    web->answer(200, R"({"individualUsage":{"plan":{"limit":500,"totalPercentUsed":42}}})");
    const auto s = fetch();
    ASSERT_TRUE(s.main);
    EXPECT_EQ(s.main->title, "Included usage");
    EXPECT_EQ(s.main->percentUsed, 42);
    ASSERT_EQ(web->calls.size(), 1u);
    EXPECT_EQ(web->calls[0].url, "https://cursor.test/api/usage-summary");
    EXPECT_TRUE(web->calls[0].headers.empty());
    EXPECT_EQ(provider->loginURL(), "https://cursor.test/dashboard");
}

TEST_F(CursorFetch, StatusesAndBodies) {
    // A sign-in page, a challenge or anything but a JSON object means the session is gone.
    for (const char* body : {"<!DOCTYPE html><html>Sign in</html>", "[]", "null", ""}) {
        web->answer(200, body);
        EXPECT_EQ(fetchError(), "Not logged in") << body;
    }
    for (int code : {401, 403}) {
        web->answer(code, "{}");
        EXPECT_EQ(fetchError(), "Not logged in") << code;
    }
    web->answer(500, "{}");
    EXPECT_EQ(fetchError(), "HTTP 500 from cursor.test");
    web->answer(404, "");
    EXPECT_EQ(fetchError(), "HTTP 404 from cursor.test");
    web->answerWith([](const ScriptedWeb::Call&) -> HttpResult { throw WebError("Page: a | Direct: b"); });
    EXPECT_EQ(fetchError(), "Page: a | Direct: b");
    // A JSON object without the expected members is an answer, not an error.
    web->answer(200, R"({"membershipType":"free"})");
    EXPECT_EQ(fetch().message, "Free plan: no included usage to track");
}
