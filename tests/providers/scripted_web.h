#pragma once
// A WebClient that answers from a script, for the providers' own logic. The real web session is
// exercised against the fake services in tests/web.

#include "async/loop.h"
#include "model/usage.h"
#include "web/web_client.h"

#include <deque>
#include <functional>
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
        answers_.push_back([=](const Call&) { return HttpResult{code, body}; });
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
        co_return hasCookieResult;
    }
    Task<void> logOut() override {
        ++logOuts;
        co_return;
    }

    std::vector<Call> calls;
    std::vector<std::string> cookieChecks;
    bool hasCookieResult = true;
    int logOuts = 0;

  private:
    std::deque<std::function<HttpResult(const Call&)>> answers_;
};

} // namespace ostrel::test
