#include "model/usage_model.h"

#include "base/log.h"
#include "model/fmt.h"
#include "model/refresh_rules.h"
#include "model/time_format.h"

namespace ostrel {

using namespace std::chrono_literals;

namespace {

// The loops run for the model's life; its task group ends them with it.
Task<void> pollLoop(UsageModel* model, Clock* clock, std::chrono::milliseconds interval) {
    for (;;) {
        // Each pass on its own: a service still hanging from an earlier one holds up neither the
        // next pass nor the other services.
        model->runOwned(model->refreshDue());
        co_await clock->sleep(interval);
    }
}

Task<void> tickLoop(UsageModel* model, Clock* clock, std::chrono::milliseconds interval) {
    for (;;) {
        co_await clock->sleep(interval);
        co_await model->tick();
    }
}

// The network says it is back a moment before names resolve and routes settle.
constexpr auto settleAfterReconnect = 2s;

Task<void> refreshWhenSettled(UsageModel* model, Clock* clock) {
    co_await clock->sleep(settleAfterReconnect);
    co_await model->refreshDue();
}

// Ends a refresh's turn in `inFlight` however the refresh ends, also when its task is destroyed
// midway: whoever joined it goes on, and the service can be fetched again.
class InFlightTurn {
  public:
    InFlightTurn(std::map<ProviderID, std::shared_ptr<AsyncEvent>>& inFlight, ProviderID id,
                 std::shared_ptr<AsyncEvent> done)
        : inFlight_(inFlight), id_(id), done_(std::move(done)) {
        inFlight_[id_] = done_;
    }
    InFlightTurn(const InFlightTurn&) = delete;
    InFlightTurn& operator=(const InFlightTurn&) = delete;
    ~InFlightTurn() {
        inFlight_.erase(id_);
        done_->set();
    }

  private:
    std::map<ProviderID, std::shared_ptr<AsyncEvent>>& inFlight_;
    ProviderID id_;
    std::shared_ptr<AsyncEvent> done_;
};

Task<void> logOutThenShowLogin(UsageModel& model, ProviderID id) {
    co_await model.logOut(id);
    // A log-out that failed leaves the old login in place, and the login page would just show it.
    if (model.state(id).needsLogin) model.showLogin(id);
}

} // namespace

UsageModel::UsageModel(AppSettings& settings, Providers providers, Clock& clock, Notifier& notifier,
                       LoginHost& login)
    : settings_(settings), providers_(std::move(providers)), clock_(clock), notifier_(notifier),
      login_(login), now_(clock.now()), lastTick_(now_) {
    connections_.push_back(settings_.changed.connect([this] { changed.emit(); }));
    connections_.push_back(settings_.enabledChanged.connect([this] { tasks_.spawn(refreshAll()); }));
    login_.onClose = [this](ProviderID id) { tasks_.spawn(refresh(id)); };
}

UsageModel::~UsageModel() {
    for (auto& c : connections_)
        c.disconnect();
    login_.onClose = nullptr;
    login_.release();
    tasks_.cancelAll(); // before any member goes: the tasks use them while they unwind
}

void UsageModel::start() {
    updateTrayAppearance();
    tasks_.spawn(pollLoop(this, &clock_, timing_.poll));
    tasks_.spawn(tickLoop(this, &clock_, timing_.tick));
}

ProviderState UsageModel::state(ProviderID id) const {
    auto it = states_.find(id);
    return it == states_.end() ? ProviderState{} : it->second;
}

bool UsageModel::isLoggedIn(ProviderID id) const {
    const ProviderState s = state(id);
    return !s.needsLogin && s.snapshot.has_value();
}

bool UsageModel::isStale(ProviderID id, TimePoint now) const {
    const ProviderState s = state(id);
    return s.snapshot && !s.needsLogin && s.lastUpdated && now - *s.lastUpdated > 2 * timing_.poll;
}

bool UsageModel::isNotResponding(ProviderID id, TimePoint now) const {
    const ProviderState s = state(id);
    return isStale(id, now) && !(s.retryAt && now < *s.retryAt);
}

std::string UsageModel::statusAt(ProviderID id, TimePoint now) const {
    const ProviderState s = state(id);
    if (isNotResponding(id, now) && s.status.starts_with("Updated "))
        return "Not responding · showing numbers from " + shortTime(*s.lastUpdated);
    return s.status;
}

UsageProvider* UsageModel::provider(ProviderID id) const {
    auto it = providers_.find(id);
    return it == providers_.end() ? nullptr : it->second.get();
}

std::vector<ProviderID> UsageModel::availableProviders() const {
    std::vector<ProviderID> out;
    for (ProviderID id : allProviders)
        if (hasProvider(id)) out.push_back(id);
    return out;
}

std::vector<ProviderID> UsageModel::activeProviders() const {
    std::vector<ProviderID> out;
    for (ProviderID id : availableProviders())
        if (settings_.isEnabled(id)) out.push_back(id);
    return out;
}

std::vector<ProviderID> UsageModel::tabProviders() const {
    std::vector<ProviderID> out;
    for (ProviderID id : allProviders)
        if (settings_.isEnabled(id)) out.push_back(id);
    return out;
}

Task<void> UsageModel::refreshAll() {
    co_await refreshEach(activeProviders());
}

Task<void> UsageModel::refreshEach(std::vector<ProviderID> ids) {
    // Each service's refresh runs on its own: one whose engine hangs until its bounds end holds up
    // nobody else. Started in service order; the pass ends when all of them have.
    std::vector<std::shared_ptr<AsyncEvent>> running;
    for (ProviderID id : ids) {
        tasks_.spawn(refresh(id));
        if (auto it = inFlight_.find(id); it != inFlight_.end()) running.push_back(it->second);
    }
    for (const auto& done : running)
        co_await done->wait();
}

bool UsageModel::resting(ProviderID id) const {
    return isResting(state(id), clock_.now());
}

std::vector<ProviderID> UsageModel::activeWhere(const std::function<bool(ProviderID)>& keep) const {
    std::vector<ProviderID> out;
    for (ProviderID id : activeProviders())
        if (keep(id)) out.push_back(id);
    return out;
}

Task<void> UsageModel::refreshDue() {
    co_await refreshEach(activeWhere([this](ProviderID id) { return !resting(id); }));
}

Task<void> UsageModel::refreshOnOpen() {
    const TimePoint now = clock_.now();
    co_await refreshEach(
        activeWhere([&](ProviderID id) { return !resting(id) || retriesOnOpen(state(id), now); }));
}

Task<void> UsageModel::refreshWoken() {
    const TimePoint now = clock_.now();
    co_await refreshEach(activeWhere([&](ProviderID id) { return pollDue(state(id), now); }));
}

void UsageModel::resumed() {
    log("Awake again: refreshing what is due");
    tasks_.spawn(refreshWoken());
}

void UsageModel::setOnline(bool online) {
    if (online == !offline_) return;
    offline_ = !online;
    log(online ? "Network back: refreshing shortly" : "Network gone: keeping the numbers until it is back");
    if (online) tasks_.spawn(refreshWhenSettled(this, &clock_));
    changed.emit();
}

Task<void> UsageModel::refresh(ProviderID id) {
    if (auto running = inFlight_.find(id); running != inFlight_.end()) {
        // Join the fetch under way instead of starting a second one.
        std::shared_ptr<AsyncEvent> done = running->second;
        co_await done->wait();
        co_return;
    }
    const InFlightTurn turn(inFlight_, id, std::make_shared<AsyncEvent>());
    co_await performRefresh(id);
}

Task<void> UsageModel::performRefresh(ProviderID id) {
    UsageProvider* p = provider(id);
    if (!p) co_return;
    const std::string name(displayName(id));
    if (login_.isShowing(id)) {
        // The user has the site open in the login window (to log in, or to pass a bot check): the
        // page is theirs. Closing the window refreshes; until then the state stays as it is.
        log(name + " not refreshed: its login window is open");
        co_return;
    }
    ProviderState working = state(id);
    const std::optional<UsageLimit> previousMain = working.snapshot ? working.snapshot->main : std::nullopt;
    const std::vector<UsageLimit> previousOthers =
        working.snapshot ? working.snapshot->others : std::vector<UsageLimit>{};
    working.lastAttempt = clock_.now();
    log("Refreshing " + name + "…");
    const std::uint64_t generation = generations_[id];

    std::optional<UsageSnapshot> fresh;
    std::exception_ptr error;
    try {
        fresh = co_await p->fetch();
        // The login's expiry comes from the cookie store; not knowing it is no failure of the fetch.
        try {
            working.loginExpiresAt = co_await p->web().cookieExpiry(p->sessionCookieName());
        } catch (const std::exception&) {
        }
    } catch (...) {
        error = std::current_exception();
    }
    if (generations_[id] != generation) {
        // A log-out or account switch came while this ran: its answer belongs to the old login.
        log(name + " refresh dropped: the login changed meanwhile");
        p->reset();
        co_return;
    }

    if (fresh && isHollowAnswer(working, *fresh)) {
        // Numbers that vanish without a word are a broken answer, not news: keep the last good ones
        // and what was already said about them.
        error = std::make_exception_ptr(ProviderError::badResponse("No usage data in the response"));
        fresh.reset();
    }
    if (fresh) {
        const UsageSnapshot& s = *fresh;
        working.snapshot = s;
        working.needsLogin = false;
        working.lastUpdated = clock_.now();
        working.lastError.reset();
        working.botCheckHost.reset();
        working.retryAt.reset();
        working.restingSince.reset();
        working.rateLimits = 0;
        working.botChecks = 0;
        log(name +
            " OK, main: " + (s.main ? Fmt::percent(s.main->percentLeft()) + " left" : std::string("none")));
        working.status = s.main ? "Updated " + shortTime(clock_.now()) : "No usage data in the response";
        applyNotificationRules(id, working, previousMain, previousOthers, s, notifier_);
        checkLoginExpiry(id, working, clock_.now(), notifier_);
    } else if (offline_) {
        // Without a network every service fails alike; that is no news about any of them. The
        // numbers, the login and the status stay as they were, and nothing is notified.
        log(name + " not refreshed: offline (" + errorDescription(error) + ")");
    } else {
        log(applyFailure(id, working, error, clock_.now(), notifier_, jitter_));
    }
    store(id, std::move(working));
}

void UsageModel::store(ProviderID id, ProviderState s) {
    states_[id] = std::move(s);
    changed.emit();
}

Task<void> UsageModel::tick() {
    now_ = clock_.now();
    const bool woke = clockJumped(lastTick_, now_);
    lastTick_ = now_;
    if (woke) {
        log("The clock moved on by more than a tick: refreshing what is due");
        // Not awaited: the tick's own bookkeeping must not wait on a service that hangs.
        tasks_.spawn(refreshWoken());
    }
    updateTrayAppearance();
    changed.emit();
    for (ProviderID id : activeProviders()) {
        ProviderState s = state(id);
        if (std::string status = statusAt(id, now_); status != s.status) {
            // Numbers this old are no longer "Updated" at the time they were fetched.
            s.status = std::move(status);
            store(id, s);
        }
        if (s.retryAt) {
            // The countdown of a rate limit moves on with the clock; a wall keeps its own words.
            if (now_ < *s.retryAt) {
                if (!s.botCheckHost) s.status = rateLimitStatus(*s.retryAt, now_);
                states_[id] = std::move(s);
                continue;
            }
        }
        if (!s.snapshot || !s.snapshot->main || !s.snapshot->main->resetsAt) continue;
        if (*s.snapshot->main->resetsAt > now_) continue;
        if (s.lastAttempt && now_ - *s.lastAttempt <= 25s) continue;
        co_await refresh(id);
    }
}

void UsageModel::showLogin(ProviderID id) {
    if (UsageProvider* p = provider(id)) login_.show(id, *p);
}

void UsageModel::switchAccount(ProviderID id) {
    tasks_.spawn(logOutThenShowLogin(*this, id));
}

Task<void> UsageModel::logOut(ProviderID id) {
    UsageProvider* p = provider(id);
    if (!p) co_return;
    ++generations_[id]; // whatever refresh is under way now reports on the login being removed
    std::string failure;
    try {
        co_await p->web().logOut();
    } catch (const std::exception& e) {
        failure = e.what();
    }
    // And so does one that started while the site's data was being removed.
    ++generations_[id];
    if (!failure.empty()) {
        // The login may well still be stored: say so, and keep what is known until a refresh tells.
        log(std::string(displayName(id)) + " log-out failed: " + failure);
        ProviderState s = state(id);
        s.status = "Log-out failed: " + failure + ".";
        store(id, std::move(s));
        co_return;
    }
    p->reset();
    ProviderState s = state(id);
    s.snapshot.reset();
    s.needsLogin = true;
    s.lastError.reset();
    s.lastUpdated.reset();
    s.loginExpiresAt.reset();
    s.botCheckHost.reset();
    s.status = "Logged out";
    store(id, std::move(s));
}

std::vector<TrayEntry> UsageModel::trayEntries() const {
    std::vector<TrayEntry> items;
    for (ProviderID id : activeProviders()) {
        const ProviderState s = state(id);
        if (s.needsLogin || !s.snapshot || !s.snapshot->main) continue;
        const UsageLimit& main = *s.snapshot->main;
        std::string text = Fmt::percent(main.percentLeft());
        if (settings_.showsResetTime(id) && main.resetsAt)
            text += " · " + Fmt::duration(*main.resetsAt, now_, true);
        items.push_back({id, std::move(text), main.level()});
    }
    return items;
}

std::string spokenText(const TrayEntry& item) {
    static const std::string dot = " · ";
    std::string text = item.text;
    if (auto at = text.find(dot); at != std::string::npos) text.replace(at, dot.size(), " left, resets in ");
    return std::string(displayName(item.id)) + " " + text;
}

std::string UsageModel::trayAccessibilityText() const {
    const std::vector<TrayEntry> items = trayEntries();
    if (items.empty()) return "Ostrel";
    std::string out;
    for (const TrayEntry& item : items)
        out += (out.empty() ? "" : ", ") + spokenText(item);
    return out;
}

void UsageModel::updateTrayAppearance() {
    if (!appearance_) return;
    const std::optional<bool> dark = appearance_();
    if (dark && *dark != isDarkTray_) {
        isDarkTray_ = *dark;
        changed.emit();
    }
}

} // namespace ostrel
