#include "async/loop.h"
#include "providers/codex_provider.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

const char* sessionURL = "https://chatgpt.test/api/auth/session";
const char* usageURL = "https://chatgpt.test/backend-api/wham/usage";
const char* usage = R"({"plan_type":"plus","rate_limit":{"primary_window":
    {"used_percent":30,"limit_window_seconds":18000,"reset_after_seconds":3600}}})";

std::string session(const std::string& token) {
    return R"({"user":{"id":"u-1"},"accessToken":")" + token + R"("})";
}

class CodexFetch : public ScriptedProviderTest<CodexProvider> {
  protected:
    CodexFetch() : ScriptedProviderTest("chatgpt.test") {}
    // The token a usage call carried ("" for another call); compared, never printed.
    std::string bearer(std::size_t call) const {
        const auto& c = web->calls.at(call);
        auto it = c.headers.find("Authorization");
        return c.url == usageURL && it != c.headers.end() ? it->second : "";
    }
    std::vector<std::string> urls() const {
        std::vector<std::string> out;
        for (const auto& c : web->calls)
            out.push_back(c.url);
        return out;
    }
};

} // namespace

TEST_F(CodexFetch, TokenIsReusedFor900SecondsThenReadAgain) {
    web->answer(200, session("tok-1"));
    web->answer(200, usage);
    const auto s = fetch();
    ASSERT_TRUE(s.main);
    EXPECT_EQ(s.main->percentUsed, 30);
    EXPECT_EQ(s.main->resetsAt, clock.now() + 1h);
    EXPECT_TRUE(web->calls[0].headers.empty());
    EXPECT_TRUE(bearer(1) == "Bearer tok-1");
    ASSERT_EQ(web->calls[1].headers.size(), 1u) << "the token is the only extra header";

    clock.advance(900s);
    web->answer(200, usage);
    fetch();
    EXPECT_EQ(urls(), (std::vector<std::string>{sessionURL, usageURL, usageURL}));
    EXPECT_TRUE(bearer(2) == "Bearer tok-1");

    clock.advance(1s);
    web->answer(200, session("tok-2"));
    web->answer(200, usage);
    fetch();
    ASSERT_EQ(web->calls.size(), 5u);
    EXPECT_EQ(web->calls[3].url, sessionURL) << "a 901-second-old token is not sent";
    EXPECT_TRUE(bearer(4) == "Bearer tok-2");
}

TEST_F(CodexFetch, ARejectedTokenIsReplacedOnce) {
    web->answer(200, session("tok-1"));
    web->answer(401, R"({"detail":"token expired"})");
    web->answer(200, session("tok-2"));
    web->answer(200, usage);
    EXPECT_EQ(fetch().main->percentUsed, 30);
    EXPECT_EQ(urls(), (std::vector<std::string>{sessionURL, usageURL, sessionURL, usageURL}));
    EXPECT_TRUE(bearer(1) == "Bearer tok-1");
    EXPECT_TRUE(bearer(3) == "Bearer tok-2");

    // The fresh token is kept; a second refusal in one fetch ends it, with no third attempt.
    web->answer(401, "");
    web->answer(200, session("tok-3"));
    web->answer(401, "");
    EXPECT_EQ(fetchError(), "Not logged in");
    ASSERT_EQ(web->calls.size(), 7u);
    EXPECT_TRUE(bearer(4) == "Bearer tok-2");
    EXPECT_TRUE(bearer(6) == "Bearer tok-3");

    // And that token is dropped: the next fetch starts at the session endpoint.
    web->answer(200, session("tok-4"));
    web->answer(200, usage);
    fetch();
    EXPECT_EQ(web->calls[7].url, sessionURL);
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
    web->answer(403, "<html>challenge</html>");
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
    web->answer(429, "");
    EXPECT_EQ(fetchError(), "HTTP 429 from chatgpt.test");
    web->answerWith([](const ScriptedWeb::Call&) -> HttpResult { throw WebError("Page: a | Direct: b"); });
    EXPECT_EQ(fetchError(), "Page: a | Direct: b") << "web errors pass through";
    EXPECT_EQ(web->calls.size(), 6u) << "none of these drops the token";

    provider->reset();
    web->answer(200, session("tok-2"));
    web->answer(200, R"({"plan_type":"free"})");
    EXPECT_EQ(fetch().message, "Free plan: no Codex usage to track");
    EXPECT_EQ(web->calls[6].url, sessionURL) << "reset() forgets the token";
}
