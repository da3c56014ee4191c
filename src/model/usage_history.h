#pragma once
// Keeps the usage history as the model's numbers come in: every fresh reading of every limit goes
// to the store (which applies the write rules), and for each service's main limit the readings of
// the last week and the pace forecast are kept at hand for the panel and the status export. Sends
// one pace warning per window when the forecast says the limit runs out well before its reset.
// A log-out keeps the history; only clear() removes it.

#include "model/forecast.h"
#include "model/history_store.h"
#include "model/usage_model.h"

#include <functional>
#include <map>
#include <optional>
#include <sigc++/signal.h>
#include <string>
#include <vector>

namespace ostrel {

class UsageHistory {
  public:
    // Listens to `model` from now on; readings older than 90 days are dropped at once.
    UsageHistory(UsageModel& model, std::string path);
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

  private:
    void onModelChanged();
    void refreshService(ProviderID id, const ProviderState& state);

    UsageModel& model_;
    HistoryStore store_;
    std::map<ProviderID, std::vector<UsageReading>> recent_;
    std::map<ProviderID, std::optional<PaceForecast>> forecasts_;
    std::map<ProviderID, TimePoint> lastSeen_;     // the lastUpdated already recorded
    std::map<ProviderID, TimePoint> warnedWindow_; // the reset time of the window already warned about
    sigc::connection connection_;
};

} // namespace ostrel
