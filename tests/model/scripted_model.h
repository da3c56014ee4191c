#pragma once
// A real UsageModel over scripted stand-ins, a manual clock and a private settings file: what the
// model's own tests and the panel's widget tests drive. The providers answer what a test queues, the
// notifier records what it was asked to post, the login host what it showed.

#include "async/loop.h"
#include "model/usage_model.h"
#include "support/loop.h"
#include "support/manual_clock.h"
#include "support/test_env.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <optional>
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
        if (logOutFailure) throw WebError(*logOutFailure);
    }
    int logOuts = 0;
    std::optional<std::string> logOutFailure; // the store's error, when the removal is to fail
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
    // The service keeps giving its last scripted answer.
    Task<UsageSnapshot> fetch() override {
        ++fetches;
        if (gate) co_await gate->wait(); // lets a test hold a fetch open
        if (script.empty()) throw std::runtime_error("no scripted answer");
        auto next = script.front();
        if (script.size() > 1) script.pop_front();
        if (auto* s = std::get_if<UsageSnapshot>(&next)) co_return *s;
        std::rethrow_exception(std::get<std::exception_ptr>(next));
    }
    void reset() override { ++resets; }

    void then(UsageSnapshot s) { script.emplace_back(std::move(s)); }
    template <typename E> void thenThrow(E e) { script.emplace_back(std::make_exception_ptr(std::move(e))); }

    std::deque<std::variant<UsageSnapshot, std::exception_ptr>> script;
    std::shared_ptr<AsyncEvent> gate;
    int fetches = 0;
    int resets = 0;
    NullWeb web_;

  private:
    ProviderID id_;
};

class RecordingNotifier final : public Notifier {
  public:
    void notifyBelow50(ProviderID id, const UsageLimit& l) override { note(id, "below50 " + l.id); }
    void notifyBelow10(ProviderID id, const UsageLimit& l) override { note(id, "below10 " + l.id); }
    void notifyReset(ProviderID id, const UsageLimit& l) override { note(id, "reset " + l.id); }
    void notifyLoginExpired(ProviderID id) override { note(id, "loginExpired"); }
    void notifyLoginExpiring(ProviderID id, int days) override {
        note(id, "loginExpiring " + std::to_string(days));
    }
    std::vector<std::string> take() { return std::exchange(sent, {}); }
    std::vector<std::string> sent;

  private:
    void note(ProviderID id, const std::string& what) {
        sent.push_back(std::string(rawValue(id)) + " " + what);
    }
};

class RecordingLogin final : public LoginHost {
  public:
    void show(ProviderID id, UsageProvider&) override { shown.push_back(id); }
    std::vector<ProviderID> shown;
};

// A real model over scripted providers. Providers listed in `missing` have no provider object.
class ScriptedModel {
  public:
    explicit ScriptedModel(std::vector<ProviderID> missing = {}) {
        UsageModel::Providers providers;
        for (ProviderID id : allProviders) {
            if (std::find(missing.begin(), missing.end(), id) != missing.end()) continue;
            auto p = std::make_unique<ScriptedProvider>(id);
            scripted[id] = p.get();
            providers[id] = std::move(p);
        }
        model = std::make_unique<UsageModel>(settings, std::move(providers), clock, notifier, login);
    }
    ~ScriptedModel() {
        drain(); // tasks the views started finish before the model goes
        model.reset();
    }

    ScriptedProvider& provider(ProviderID id) { return *scripted.at(id); }
    // What the service answers from now on.
    void answer(ProviderID id, UsageSnapshot snapshot) {
        provider(id).script.clear();
        provider(id).then(std::move(snapshot));
    }
    // Scripts the answer and runs one refresh of `id` to its end.
    void succeed(ProviderID id, UsageSnapshot snapshot) {
        answer(id, std::move(snapshot));
        refresh(id);
    }
    template <typename E> void fail(ProviderID id, E error) {
        provider(id).script.clear();
        provider(id).thenThrow(std::move(error));
        refresh(id);
    }
    void refresh(ProviderID id) { runSync(model->refresh(id), std::chrono::seconds(5)); }
    // Moves the clock and runs the model's 30-second tick.
    void advance(std::chrono::seconds by) {
        clock.advance(by);
        runSync(model->tick(), std::chrono::seconds(5));
    }

    UsageLimit limit(std::string id, double used, std::optional<std::chrono::seconds> resetIn = {}) const {
        UsageLimit l{id, id, used, std::nullopt};
        if (resetIn) l.resetsAt = clock.now() + *resetIn;
        return l;
    }
    static UsageSnapshot snapshot(std::optional<UsageLimit> main, std::vector<UsageLimit> others = {}) {
        return UsageSnapshot{std::move(main), false, std::move(others), std::nullopt, std::nullopt};
    }

    TempDir dir;
    AppSettings settings{dir.file("settings.ini")};
    ManualClock clock{std::chrono::system_clock::now()};
    RecordingNotifier notifier;
    RecordingLogin login;
    std::map<ProviderID, ScriptedProvider*> scripted;
    std::unique_ptr<UsageModel> model;
};

} // namespace ostrel::test
