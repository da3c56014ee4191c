#pragma once
// A WebClient that answers from a script, for the providers' own logic. The real web session is
// exercised against the fake services in tests/web.

#include "async/loop.h"
#include "base/usage.h"
#include "providers/service_config.h"
#include "providers/web_client.h"
#include "support/loop.h"
#include "support/manual_clock.h"

#include <deque>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace ostrel::test {

// An answer to a request; code 0 stands for a request that fails with the body as its message.
inline HttpResult http(int code, std::string body = "", std::optional<std::chrono::seconds> retryAfter = {},
                       bool challenge = false) {
    return {code, std::move(body), retryAfter, challenge};
}

class ScriptedWeb final : public WebClient {
  public:
    struct Call {
        std::string url;
        Headers headers;
    };
    Task<HttpResult> get(std::string url, Headers headers) override {
        calls.push_back({url, headers});
        if (answers.empty()) throw WebError("no scripted answer for " + url);
        HttpResult next = std::move(answers.front());
        answers.pop_front();
        co_await yieldToLoop(); // a real request always suspends
        if (next.code == 0) throw WebError(next.body);
        co_return next;
    }
    Task<bool> hasCookie(std::string) override {
        if (cookieStoreFails) throw WebError("Could not read the cookie store");
        co_return hasCookieResult;
    }
    Task<std::optional<TimePoint>> cookieExpiry(std::string) override { co_return std::nullopt; }
    Task<void> visitSite() override {
        ++siteVisits;
        co_return;
    }
    Task<void> logOut() override { co_return; }

    std::deque<HttpResult> answers; // taken in order
    std::vector<Call> calls;
    bool hasCookieResult = true;
    bool cookieStoreFails = false;
    int siteVisits = 0;
};

// A provider of type P for https://service.test, wired to a scripted web client, with a clock the test
// moves.
template <typename P> class ScriptedProviderTest : public ::testing::Test {
  protected:
    ScriptedProviderTest() {
        auto w = std::make_unique<ScriptedWeb>();
        web = w.get();
        provider = std::make_unique<P>(std::move(w), ServiceEndpoint{"https", "service.test", 0}, clock);
    }
    // A fetch given `answers`, each asked for exactly once: the error text, with the wait a rate limit
    // asks for, or "no error".
    std::string fetchWith(const std::vector<HttpResult>& answers) {
        web->calls.clear();
        web->answers.assign(answers.begin(), answers.end());
        std::string error = "no error";
        try {
            runSync(provider->fetch(), std::chrono::seconds(5));
        } catch (const ProviderError& e) {
            const auto wait = e.retryAfter();
            error = e.what() + (wait ? " for " + std::to_string(wait->count()) + "s" : "");
        } catch (const std::exception& e) {
            error = e.what();
        }
        EXPECT_EQ(web->calls.size(), answers.size()) << error;
        return error;
    }

    ManualClock clock{std::chrono::system_clock::now()};
    ScriptedWeb* web = nullptr;
    std::unique_ptr<P> provider;
};

} // namespace ostrel::test
