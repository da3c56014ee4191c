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
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace ostrel::test {

class ScriptedWeb final : public WebClient {
  public:
    struct Call {
        std::string url;
        Headers headers;
    };
    // Answers are taken in order; a function answer may throw.
    void answer(int code, std::string body) {
        answers_.push_back([=](const Call&) {
            HttpResult r;
            r.code = code;
            r.body = body;
            return r;
        });
    }
    void answerWith(std::function<HttpResult(const Call&)> f) { answers_.push_back(std::move(f)); }

    Task<HttpResult> get(std::string url, Headers headers) override {
        calls.push_back({url, headers});
        if (answers_.empty()) throw WebError("no scripted answer for " + url);
        auto next = std::move(answers_.front());
        answers_.pop_front();
        co_await yieldToLoop(); // a real request always suspends
        co_return next(calls.back());
    }
    Task<bool> hasCookie(std::string name) override {
        cookieChecks.push_back(name);
        if (cookieStoreFails) throw WebError("Could not read the cookie store");
        co_return hasCookieResult;
    }
    Task<std::optional<TimePoint>> cookieExpiry(std::string) override { co_return std::nullopt; }
    Task<void> visitSite() override {
        ++siteVisits;
        co_return;
    }
    Task<void> logOut() override {
        ++logOuts;
        co_return;
    }

    std::vector<Call> calls;
    std::vector<std::string> cookieChecks;
    bool hasCookieResult = true;
    bool cookieStoreFails = false;
    int logOuts = 0;
    int siteVisits = 0;

  private:
    std::deque<std::function<HttpResult(const Call&)>> answers_;
};

// A provider of type P wired to a scripted web client, with a clock the test moves.
template <typename P> class ScriptedProviderTest : public ::testing::Test {
  protected:
    explicit ScriptedProviderTest(const char* host) {
        auto w = std::make_unique<ScriptedWeb>();
        web = w.get();
        provider = std::make_unique<P>(std::move(w), ServiceEndpoint{"https", host, 0}, clock);
    }
    UsageSnapshot fetch() { return runSync(provider->fetch(), std::chrono::seconds(5)); }
    // The error text of a fetch that fails, or "no error".
    std::string fetchError() {
        try {
            fetch();
        } catch (const std::exception& e) {
            return e.what();
        }
        return "no error";
    }

    ManualClock clock{std::chrono::system_clock::now()};
    ScriptedWeb* web = nullptr;
    std::unique_ptr<P> provider;
};

} // namespace ostrel::test
