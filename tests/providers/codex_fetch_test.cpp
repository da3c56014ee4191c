#include "async/loop.h"
#include "providers/codex_provider.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

const HttpResult usage = http(200, R"({"rate_limit":{"primary_window":{"used_percent":30}}})");

HttpResult session(const std::string& token) {
    return http(200, R"({"user":{"id":"u-1"},"accessToken":")" + token + R"("})");
}

using CodexFetch = ScriptedProviderTest<CodexProvider>;

} // namespace

// The token is read from the session endpoint, kept for 900 seconds, and a refused one is replaced
// once per fetch; refused again, it is dropped.
TEST_F(CodexFetch, TheTokenIsKeptForAWhileAndReplacedOnceWhenRefused) {
    const std::string ask = "session ", use = "https://service.test/backend-api/wham/usage Bearer tok-";
    const struct {
        std::chrono::seconds wait;
        std::vector<HttpResult> answers;
        std::string error, sent;
    } steps[] = {
        {0s, {session("tok-1"), usage}, "no error", ask + use + "1 "},
        {900s, {usage}, "no error", use + "1 "},
        {1s, {session("tok-2"), usage}, "no error", ask + use + "2 "},
        {0s, {http(401), session("tok-3"), usage}, "no error", use + "2 " + ask + use + "3 "},
        {0s, {http(401), session("tok-4"), http(401)}, "Not logged in", use + "3 " + ask + use + "4 "},
        {0s, {session("tok-5"), usage}, "no error", ask + use + "5 "},
    };
    for (const auto& step : steps) {
        clock.advance(step.wait);
        EXPECT_EQ(fetchWith(step.answers), step.error);
        std::string sent;
        for (const auto& call : web->calls)
            sent += call.url == "https://service.test/api/auth/session"
                        ? ask
                        : call.url + " " + call.headers.at("Authorization") + " ";
        EXPECT_EQ(sent, step.sent);
    }
}

// Each row starts without a token.
TEST_F(CodexFetch, SessionAndUsageAnswers) {
    const std::pair<std::vector<HttpResult>, std::string> rows[] = {
        // Logged out: no usage request is made.
        {{http(200, "{}")}, "Not logged in"},
        {{http(200, R"({"accessToken":""})")}, "Not logged in"},
        {{http(401)}, "Not logged in"},
        {{http(200, "<!DOCTYPE html><html>Just a moment...</html>")},
         "service.test sent a page instead of session data"},
        {{http(200, "[1]")}, "service.test sent a page instead of session data"},
        {{http(403, "{}")}, "HTTP 403 from service.test"},
        // A 401 whose retry fails at the session endpoint reports that failure.
        {{session("t"), http(401), http(500)}, "HTTP 500 from service.test"},
        {{session("t"), http(200, "<html>Just a moment...</html>")},
         "service.test sent a page instead of usage data"},
        {{session("t"), http(200, "[]")}, "service.test sent a page instead of usage data"},
        // An object with neither the plan nor its limits is not the service's answer either.
        {{session("t"), http(200, R"({"detail":"maintenance"})")}, "Unexpected response from service.test"},
        {{session("t"), http(200, R"({"plan_type":"free"})")}, "no error"},
        {{session("t"), http(403)}, "HTTP 403 from service.test"}, // only a 401 means the token was refused
    };
    for (const auto& [answers, error] : rows) {
        provider->reset();
        EXPECT_EQ(fetchWith(answers), error) << answers.back().body;
    }
}
