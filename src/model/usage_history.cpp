#include "model/usage_history.h"

namespace ostrel {

using namespace std::chrono_literals;

namespace {
constexpr auto keptFor = 90 * 24h;
constexpr auto recentSpan = 7 * 24h;

UsageReading readingOf(ProviderID id, const UsageLimit& limit, TimePoint at) {
    return {id, limit.id, limit.title, limit.percentUsed, limit.resetsAt, at};
}
} // namespace

UsageHistory::UsageHistory(UsageModel& model, std::string path)
    : model_(model),
      store_(path.empty() ? HistoryStore::defaultPath() : std::move(path), model.now() - keptFor) {
    connection_ = model_.changed.connect([this] { onModelChanged(); });
    onModelChanged();
}

UsageHistory::~UsageHistory() {
    connection_.disconnect();
}

const std::vector<UsageReading>& UsageHistory::mainReadings(ProviderID id) const {
    static const std::vector<UsageReading> none;
    auto it = recent_.find(id);
    return it == recent_.end() ? none : it->second;
}

std::optional<PaceForecast> UsageHistory::forecast(ProviderID id) const {
    auto it = forecasts_.find(id);
    return it == forecasts_.end() ? std::nullopt : it->second;
}

void UsageHistory::clear() {
    store_.clear();
    recent_.clear();
    forecasts_.clear();
    model_.changed.emit(); // the chart and the forecast go at once
}

void UsageHistory::onModelChanged() {
    for (ProviderID id : model_.activeProviders())
        refreshService(id, model_.state(id));
}

void UsageHistory::refreshService(ProviderID id, const ProviderState& state) {
    if (!state.snapshot || !state.snapshot->main || !state.lastUpdated) {
        recent_.erase(id);
        forecasts_.erase(id);
        return;
    }
    const UsageLimit& main = *state.snapshot->main;
    const TimePoint updated = *state.lastUpdated;
    const TimePoint now = std::max(model_.now(), updated);
    if (lastSeen_[id] != updated) {
        lastSeen_[id] = updated;
        store_.record(readingOf(id, main, updated));
        for (const UsageLimit& other : state.snapshot->others)
            store_.record(readingOf(id, other, updated));
    }
    recent_[id] = store_.readings(id, main.id, now - recentSpan);
    // The current value holds until now even when no row was written for it.
    std::vector<UsageReading> series = recent_[id];
    if (series.empty() || series.back().percentUsed != main.percentUsed ||
        series.back().resetsAt != main.resetsAt)
        series.push_back(readingOf(id, main, updated));
    const std::optional<PaceForecast> f =
        state.snapshot->mainNotStarted ? std::nullopt : paceForecast(series, now);
    forecasts_[id] = f;

    if (f && f->resetsAt && warrantsPaceWarning(*f, now)) {
        auto warned = warnedWindow_.find(id);
        if (warned == warnedWindow_.end() || warned->second != *f->resetsAt) {
            warnedWindow_[id] = *f->resetsAt;
            if (onPaceWarning) onPaceWarning(id, paceWarningText(id, *f, now));
        }
    }
}

} // namespace ostrel
