#include "async/loop.h"
#include "providers/codex_provider.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

const char* sessionURL = "https://chatgpt.test/api/auth/session";
const char* usage = R"({"plan_type":"plus","rate_limit":{"primary_window":
    {"used_percent":30,"limit_window_seconds":18000,"reset_after_seconds":3600}}})";

std::string session(const std::string& token) {
    return R"({"user":{"id":"u-1"},"accessToken":")" + token + R"("})";
}

class CodexFetch : public ScriptedProviderTest<CodexProvider> {
  protected:
    CodexFetch() : ScriptedProviderTest("chatgpt.test") {}
};

} // namespace

// Reusing the token and replacing a refused one are tested on the real engine against the fake
// site; here, that a token refused twice in one fetch is not sent again.
TEST_F(CodexFetch, ATokenRefusedTwiceIsDropped) {
    web->answer(200, session("tok-1"));
    web->answer(401, "");
    web->answer(200, session("tok-2"));
    web->answer(401, "");
    EXPECT_EQ(fetchError(), "Not logged in");
    EXPECT_EQ(web->calls.size(), 4u) << "no third attempt";
    web->answer(200, session("tok-3"));
    web->answer(200, usage);
    EXPECT_EQ(fetch().main->percentUsed, 30);
    EXPECT_EQ(web->calls[4].url, sessionURL);
}

TEST_F(CodexFetch, SessionEndpointAnswers) {
    // Logged out: no usage request is made.
    for (const char* body : {"{}", R"({"accessToken":""})", R"({"accessToken":42})"}) {
        web->calls.clear();
        web->answer(200, body);
        EXPECT_EQ(fetchError(), "Not logged in") << body;
        EXPECT_EQ(web->calls.size(), 1u) << body;
    }
    web->answer(401, "");
    EXPECT_EQ(fetchError(), "Not logged in");
    for (const char* body : {"<!DOCTYPE html><html>Just a moment...</html>", "[1]"}) {
        web->answer(200, body);
        EXPECT_EQ(fetchError(), "chatgpt.test sent a page instead of session data") << body;
    }
    web->answer(403, "{}");
    EXPECT_EQ(fetchError(), "HTTP 403 from chatgpt.test");
    // A 401 on the usage request whose retry fails at the session endpoint reports that failure.
    web->answer(200, session("tok-1"));
    web->answer(401, "");
    web->answer(500, "");
    EXPECT_EQ(fetchError(), "HTTP 500 from chatgpt.test");
}

TEST_F(CodexFetch, UsageEndpointAnswers) {
    web->answer(200, session("tok-1"));
    web->answer(200, "<html>Just a moment...</html>");
    EXPECT_EQ(fetchError(), "chatgpt.test sent a page instead of usage data");
    web->answer(200, "[]");
    EXPECT_EQ(fetchError(), "chatgpt.test sent a page instead of usage data");
    web->answer(403, "");
    EXPECT_EQ(fetchError(), "HTTP 403 from chatgpt.test") << "only a 401 means the token was refused";
    web->answer(409, "");
    EXPECT_EQ(fetchError(), "HTTP 409 from chatgpt.test");
    web->answerWith([](const ScriptedWeb::Call&) -> HttpResult { throw WebError("Page: a | Direct: b"); });
    EXPECT_EQ(fetchError(), "Page: a | Direct: b") << "web errors pass through";
    EXPECT_EQ(web->calls.size(), 6u) << "none of these drops the token";

    provider->reset();
    web->answer(200, session("tok-2"));
    web->answer(200, R"({"plan_type":"free"})");
    EXPECT_EQ(fetch().message, "Free plan: no Codex usage to track");
    EXPECT_EQ(web->calls[6].url, sessionURL) << "reset() forgets the token";
}
