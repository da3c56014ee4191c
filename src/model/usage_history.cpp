#include "model/usage_history.h"

#include "async/loop.h"

#include <algorithm>

namespace ostrel {

using namespace std::chrono_literals;

namespace {
constexpr auto recentSpan = 7 * 24h;
constexpr auto upkeepStep = 5ms; // the longest the loop is held by one step
constexpr auto upkeepGap = 50ms; // the loop's own work runs between steps
constexpr auto upkeepEvery = 1h; // old rows go as time passes, in a run that lasts all day

UsageReading readingOf(ProviderID id, const UsageLimit& limit, TimePoint at) {
    return {id, limit.id, limit.title, limit.percentUsed, limit.resetsAt, at};
}
} // namespace

Task<void> keepTidy(UsageHistory* self, std::chrono::milliseconds delay) {
    co_await sleepFor(delay);
    for (;;) {
        while (self->store_.maintain(self->model_.now(), upkeepStep))
            co_await sleepFor(upkeepGap);
        ++self->upkeepRounds_;
        co_await sleepFor(upkeepEvery);
    }
}

UsageHistory::UsageHistory(UsageModel& model, std::string path, std::chrono::milliseconds upkeepDelay)
    : model_(model), store_(path.empty() ? HistoryStore::defaultPath() : std::move(path)) {
    connection_ = model_.changed.connect([this] { onModelChanged(); });
    onModelChanged();
    tasks_.spawn(keepTidy(this, upkeepDelay));
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
    recentLimit_.clear();
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
        recentLimit_.erase(id);
        forecasts_.erase(id);
        return;
    }
    const UsageLimit& main = *state.snapshot->main;
    const TimePoint updated = *state.lastUpdated;
    const TimePoint now = std::max(model_.now(), updated);
    std::vector<UsageReading>& rows = recent(id, main.id, now);
    const UsageReading current = readingOf(id, main, updated);
    if (lastSeen_[id] != updated) {
        lastSeen_[id] = updated;
        const bool taken = store_.record(current);
        for (const UsageLimit& other : state.snapshot->others)
            store_.record(readingOf(id, other, updated));
        if (taken) rows.push_back(current);
        recentVersion_ = store_.version(); // only our own writes since it was read
    }
    const auto old = std::find_if(rows.begin(), rows.end(),
                                  [&](const UsageReading& r) { return r.at >= now - recentSpan; });
    rows.erase(rows.begin(), old);
    // The current value holds until now even when no row was written for it.
    std::vector<UsageReading> series = rows;
    if (series.empty() || isChange(series.back(), current)) series.push_back(current);
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

std::vector<UsageReading>& UsageHistory::recent(ProviderID id, const std::string& limitId, TimePoint now) {
    if (store_.version() != recentVersion_) { // written or tidied by someone else: read anew
        for (const auto& [service, cached] : recentLimit_)
            recent_[service] = store_.readings(service, cached, now - recentSpan, now);
        recentVersion_ = store_.version();
    }
    auto limit = recentLimit_.find(id);
    if (limit == recentLimit_.end() || limit->second != limitId) {
        recent_[id] = store_.readings(id, limitId, now - recentSpan, now);
        recentLimit_[id] = limitId;
    }
    return recent_[id];
}

} // namespace ostrel
