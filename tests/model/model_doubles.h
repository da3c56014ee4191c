#pragma once
// Scripted stand-ins for what the model drives: providers whose answers a test queues, a notifier
// that records what it was asked to post, a login host that records what it showed.

#include "async/loop.h"
#include "model/usage_model.h"

#include <deque>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace ostrel::test {

class NullWeb final : public WebClient {
  public:
    Task<HttpResult> get(std::string, Headers) override { throw WebError("not used"); }
    Task<bool> hasCookie(std::string) override { co_return false; }
    Task<std::optional<TimePoint>> cookieExpiry(std::string) override { co_return expiry; }
    Task<void> visitSite() override { co_return; }
    Task<void> logOut() override {
        ++logOuts;
        if (logOutGate) co_await logOutGate->wait(); // lets a test hold the removal open
    }
    int logOuts = 0;
    std::shared_ptr<AsyncEvent> logOutGate;
    std::optional<TimePoint> expiry; // of the login cookie
};

class ScriptedProvider final : public UsageProvider {
  public:
    explicit ScriptedProvider(ProviderID id) : id_(id) {}
    ProviderID id() const override { return id_; }
    WebClient& web() override { return web_; }
    std::string loginURL() const override { return "https://login.test/" + std::string(rawValue(id_)); }
    std::string sessionCookieName() const override { return "session"; }
    Task<UsageSnapshot> fetch() override {
        ++fetches;
        if (gate) co_await gate->wait(); // lets a test hold a fetch open
        if (script.empty()) throw std::runtime_error("no scripted answer");
        auto next = script.front();
        if (script.size() > 1 || !repeatLast) script.pop_front();
        if (auto* s = std::get_if<UsageSnapshot>(&next)) co_return *s;
        std::rethrow_exception(std::get<std::exception_ptr>(next));
    }
    void reset() override { ++resets; }

    void then(UsageSnapshot s) { script.emplace_back(std::move(s)); }
    template <typename E> void thenThrow(E e) { script.emplace_back(std::make_exception_ptr(std::move(e))); }

    std::deque<std::variant<UsageSnapshot, std::exception_ptr>> script;
    bool repeatLast = true; // the service keeps saying the same thing until told otherwise
    std::shared_ptr<AsyncEvent> gate;
    int fetches = 0;
    int resets = 0;
    NullWeb web_;

  private:
    ProviderID id_;
};

class RecordingNotifier final : public Notifier {
  public:
    void notifyBelow50(ProviderID id, const UsageLimit& l) override {
        sent.push_back(text(id, "below50", l));
    }
    void notifyBelow10(ProviderID id, const UsageLimit& l) override {
        sent.push_back(text(id, "below10", l));
    }
    void notifyReset(ProviderID id, const UsageLimit& l) override { sent.push_back(text(id, "reset", l)); }
    void notifyLoginExpired(ProviderID id) override {
        sent.push_back(std::string(rawValue(id)) + " loginExpired");
    }
    void notifyLoginExpiring(ProviderID id, int days) override {
        sent.push_back(std::string(rawValue(id)) + " loginExpiring " + std::to_string(days));
    }
    std::vector<std::string> take() { return std::exchange(sent, {}); }
    std::vector<std::string> sent;

  private:
    static std::string text(ProviderID id, const char* what, const UsageLimit& l) {
        return std::string(rawValue(id)) + " " + what + " " + l.id;
    }
};

class RecordingLogin final : public LoginHost {
  public:
    void show(ProviderID id, UsageProvider&) override { shown.push_back(id); }
    std::vector<ProviderID> shown;
};

} // namespace ostrel::test
