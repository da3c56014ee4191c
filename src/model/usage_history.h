#pragma once
// Keeps the usage history as the model's numbers come in: every fresh reading of every limit goes
// to the store (which applies the write rules), and for each service's main limit the readings of
// the last week and the pace forecast are kept at hand for the panel and the status export. Sends
// one pace warning per window when the forecast says the limit runs out well before its reset.
// A log-out keeps the history; only clear() removes it. The store's upkeep (old rows dropped and
// thinned) runs in small steps on the main loop, a while after the start and then every hour, so
// no step holds the loop for more than a few milliseconds.

#include "async/task_group.h"
#include "model/forecast.h"
#include "model/history_store.h"
#include "model/usage_model.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <sigc++/signal.h>
#include <string>
#include <vector>

namespace ostrel {

class UsageHistory {
  public:
    static constexpr std::chrono::milliseconds defaultUpkeepDelay{10'000};
    // Listens to `model` from now on; the first upkeep runs after `upkeepDelay` (the tray and the
    // first readings come first).
    UsageHistory(UsageModel& model, std::string path,
                 std::chrono::milliseconds upkeepDelay = defaultUpkeepDelay);
    ~UsageHistory();
    UsageHistory(const UsageHistory&) = delete;
    UsageHistory& operator=(const UsageHistory&) = delete;

    // The main limit's readings of the last seven days, oldest first.
    const std::vector<UsageReading>& mainReadings(ProviderID id) const;
    std::optional<PaceForecast> forecast(ProviderID id) const;
    // Removes every reading (the settings screen's "Clear history").
    void clear();

    HistoryStore& store() { return store_; }

    // Called with the notification text when a pace warning is due.
    std::function<void(ProviderID, const std::string&)> onPaceWarning;

    // Whether the store's upkeep has run to its end at least once (tests wait for it).
    bool upkeepDone() const { return upkeepRounds_ > 0; }

  private:
    friend Task<void> keepTidy(UsageHistory* self, std::chrono::milliseconds delay);

    void onModelChanged();
    void refreshService(ProviderID id, const ProviderState& state);
    // The main limit's recent readings, read from the store once and then kept up as readings come.
    std::vector<UsageReading>& recent(ProviderID id, const std::string& limitId, TimePoint now);

    UsageModel& model_;
    HistoryStore store_;
    std::map<ProviderID, std::vector<UsageReading>> recent_;
    std::map<ProviderID, std::string> recentLimit_; // the limit recent_ holds
    std::uint64_t recentVersion_ = 0;               // the store's version recent_ was read at
    std::map<ProviderID, std::optional<PaceForecast>> forecasts_;
    std::map<ProviderID, TimePoint> lastSeen_;     // the lastUpdated already recorded
    std::map<ProviderID, TimePoint> warnedWindow_; // the reset time of the window already warned about
    sigc::connection connection_;
    int upkeepRounds_ = 0;
    TaskGroup tasks_;
};

} // namespace ostrel
