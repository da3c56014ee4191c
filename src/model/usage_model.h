#pragma once
// The central model: one state per service, the refresh cycle (a 60-second poll whose first pass
// runs at once, and a 30-second tick that re-fetches passed reset times), one fetch per service at
// a time, status texts, log lines and notifications, and the account actions the panel offers.
// Time and timers come from a Clock, so tests run hours of the cycle in simulated time.

#include "async/clock.h"
#include "async/loop.h"
#include "async/task_group.h"
#include "model/app_settings.h"
#include "model/login_host.h"
#include "model/provider_state.h"
#include "providers/usage_provider.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sigc++/signal.h>
#include <vector>

namespace ostrel {

class UsageHistory;

// One entry of the tray label: a service's logo tinted by level, and its text ("42%" or
// "42% · 2h 5m").
struct TrayEntry {
    ProviderID id;
    std::string text;
    UsageLevel level;
    bool operator==(const TrayEntry&) const = default;
};

// How a screen reader says one item: "Claude 42% left, resets in 2h 5m", or "Codex 80%".
std::string spokenText(const TrayEntry& item);

class UsageModel {
  public:
    using Providers = std::map<ProviderID, std::unique_ptr<UsageProvider>>;

    UsageModel(AppSettings& settings, Providers providers, Clock& clock, Notifier& notifier,
               LoginHost& login);
    UsageModel(const UsageModel&) = delete;
    UsageModel& operator=(const UsageModel&) = delete;
    ~UsageModel();

    // How often the poll runs and the tick comes. Set before start(); tests shorten them.
    struct Timing {
        std::chrono::milliseconds poll{60000};
        std::chrono::milliseconds tick{30000};
    };
    void setTiming(Timing timing) { timing_ = timing; }
    std::chrono::milliseconds pollInterval() const { return timing_.poll; }

    // Starts the poll and the tick. Separate from construction so observers can connect first.
    void start();

    ProviderState state(ProviderID id) const;
    bool isLoggedIn(ProviderID id) const;
    // The numbers held for `id` are older than two poll intervals at `now`: whatever the last status
    // said, they are not fresh (a rate-limited service waiting for its time counts too).
    bool isStale(ProviderID id, TimePoint now) const;
    // The service has not answered for that long and is not waiting out a rate limit.
    bool isNotResponding(ProviderID id, TimePoint now) const;
    // The status as it reads at `now`: one that said "Updated …" says so no longer once stale.
    std::string statusAt(ProviderID id, TimePoint now) const;
    bool hasProvider(ProviderID id) const { return providers_.contains(id); }
    std::vector<ProviderID> availableProviders() const;
    std::vector<ProviderID> activeProviders() const;
    std::vector<ProviderID> tabProviders() const;
    TimePoint now() const { return now_; }
    // Whether any fetch is under way.
    bool isRefreshing() const { return !inFlight_.empty(); }
    bool isDarkTray() const { return isDarkTray_; }
    AppSettings& settings() { return settings_; }
    UsageProvider* provider(ProviderID id) const;

    // Tries every active service now, as the user's "Refresh" asks. The services' refreshes run
    // side by side.
    Task<void> refreshAll();
    // The poll's pass: like refreshAll, but a rate-limited or walled service is left alone until
    // its time.
    Task<void> refreshDue();
    // Opening the panel: like the poll's pass, but a service left alone longer than the longest
    // pause is tried as well.
    Task<void> refreshOnOpen();
    Task<void> refresh(ProviderID id);
    void showLogin(ProviderID id);
    void switchAccount(ProviderID id);
    // Runs one of the model's own tasks (a refresh, a log-out) that a caller starts and does not
    // wait for; the model owns it and ends it with itself.
    void runOwned(Task<void> task) { tasks_.spawn(std::move(task)); }
    Task<void> logOut(ProviderID id);

    // One 30-second housekeeping step (public so a caller with its own timing can drive it). When
    // the wall clock moved on far more than a tick since the last one (the machine slept), every
    // service whose poll is due refreshes at once.
    Task<void> tick();

    // The machine woke from sleep: every service whose poll is due refreshes now, not a whole poll
    // interval late.
    void resumed();
    // The network went away or came back. While it is away a failed refresh changes nothing: no
    // error, no notification, the numbers stay. When it is back, every service refreshes within a
    // few seconds (one that asked to wait still waits).
    void setOnline(bool online);
    bool isOffline() const { return offline_; }

    // Every tracked, logged-in service that has a main limit, in service order.
    std::vector<TrayEntry> trayEntries() const;
    // What a screen reader says for the label: "Claude 42% left, resets in 2h 5m, Codex 80%".
    std::string trayAccessibilityText() const;

    // Where the bar's darkness comes from; no answer keeps the current value.
    void setAppearanceSource(std::function<std::optional<bool>()> source) { appearance_ = std::move(source); }
    void updateTrayAppearance();

    // Fixes the back-off's random spread (tests).
    void setJitter(std::function<double()> jitter) { jitter_ = std::move(jitter); }
    // The usage history, when the app keeps one; its owner sets it, the panel reads it.
    UsageHistory* history() const { return history_; }
    void setHistory(UsageHistory* history) { history_ = history; }

    // Emitted once per published change: a refresh's result, a tick, a settings or appearance change.
    sigc::signal<void()> changed;

  private:
    Task<void> refreshEach(std::vector<ProviderID> ids);
    // The active services `keep` says yes to, in service order.
    std::vector<ProviderID> activeWhere(const std::function<bool(ProviderID)>& keep) const;
    Task<void> performRefresh(ProviderID id);
    Task<void> refreshWoken();
    bool resting(ProviderID id) const;
    void store(ProviderID id, ProviderState s);

    AppSettings& settings_;
    Providers providers_;
    Clock& clock_;
    Notifier& notifier_;
    LoginHost& login_;
    std::map<ProviderID, ProviderState> states_;
    std::map<ProviderID, std::shared_ptr<AsyncEvent>> inFlight_;
    TimePoint now_;
    Timing timing_;
    TimePoint lastTick_; // to notice the wall clock jumping: a sleep, or the clock being set
    bool offline_ = false;
    bool isDarkTray_ = true;
    std::function<std::optional<bool>()> appearance_;
    // Bumped by a log-out: a refresh that started under an older login drops its answer.
    std::map<ProviderID, std::uint64_t> generations_;
    // Spread of the rate-limit back-off; tests fix it.
    std::function<double()> jitter_ = [] { return g_random_double_range(0.8, 1.2); };
    std::vector<sigc::connection> connections_;
    UsageHistory* history_ = nullptr;
    TaskGroup tasks_; // the loops and the refreshes the model starts itself; ended with the model
};

} // namespace ostrel
