#include "model/forecast.h"

#include "model/fmt.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

using namespace std::chrono_literals;

namespace {

constexpr auto fitSpan = 45min;
constexpr auto sampleStep = 1min;
constexpr auto minSpan = 10min;
constexpr std::size_t minReadings = 3;

double median(std::vector<double> v) {
    const std::size_t mid = v.size() / 2;
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(mid), v.end());
    const double upper = v[mid];
    if (v.size() % 2 == 1) return upper;
    return (upper + *std::max_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(mid))) / 2;
}

double minutesBetween(TimePoint from, TimePoint to) {
    return std::chrono::duration<double, std::ratio<60>>(to - from).count();
}

} // namespace

bool isChange(const UsageReading& earlier, const UsageReading& later) {
    if (earlier.percentUsed != later.percentUsed) return true;
    if (earlier.resetsAt.has_value() != later.resetsAt.has_value()) return true;
    if (!earlier.resetsAt) return false;
    const auto moved = *later.resetsAt - *earlier.resetsAt;
    return moved >= 60s || moved <= -60s;
}

bool isReset(const UsageReading& earlier, const UsageReading& later) {
    if (earlier.resetsAt && later.resetsAt) return *later.resetsAt > *earlier.resetsAt + 60s;
    return later.percentUsed < earlier.percentUsed - 10;
}

std::vector<UsageReading> currentWindow(const std::vector<UsageReading>& readings) {
    std::size_t start = 0;
    for (std::size_t i = 1; i < readings.size(); ++i)
        if (isReset(readings[i - 1], readings[i])) start = i;
    return {readings.begin() + static_cast<std::ptrdiff_t>(start), readings.end()};
}

std::optional<PaceForecast> paceForecast(const std::vector<UsageReading>& readings, TimePoint now) {
    const std::vector<UsageReading> window = currentWindow(readings);
    if (window.size() < minReadings || window.back().at - window.front().at < minSpan) return std::nullopt;
    if (window.back().at > now) now = window.back().at;

    // Sample the step function once a minute from the fit's start up to now.
    const TimePoint from = std::max(window.front().at, now - fitSpan);
    std::vector<std::pair<double, double>> samples; // (minutes before now, percent used)
    std::size_t next = 0;
    double value = window.front().percentUsed;
    for (TimePoint t = from; t <= now; t += sampleStep) {
        while (next < window.size() && window[next].at <= t)
            value = window[next++].percentUsed;
        samples.emplace_back(minutesBetween(now, t), value);
    }
    if (samples.size() < minReadings) return std::nullopt;

    std::vector<double> slopes;
    slopes.reserve(samples.size() * samples.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i)
        for (std::size_t j = i + 1; j < samples.size(); ++j)
            slopes.push_back((samples[j].second - samples[i].second) / (samples[j].first - samples[i].first));
    const double slope = median(std::move(slopes)); // percent per minute
    if (!(slope > 1e-6)) return std::nullopt;

    // Where the line stands now, from the readings themselves (the samples lag behind them).
    std::vector<double> intercepts;
    for (const UsageReading& r : window)
        if (r.at >= from) intercepts.push_back(r.percentUsed - slope * minutesBetween(now, r.at));
    const double usedNow = median(std::move(intercepts));
    if (usedNow >= 100) return std::nullopt; // already out: nothing to forecast

    const auto left = std::chrono::duration<double, std::ratio<60>>((100 - usedNow) / slope);
    PaceForecast f;
    f.runsOutAt = now + std::chrono::duration_cast<std::chrono::seconds>(left);
    f.resetsAt = window.back().resetsAt;
    return f;
}

std::string paceText(const PaceForecast& forecast, TimePoint now) {
    if (!forecast.runsOutFirst()) return "At this pace: lasts until the reset";
    std::string text = "At this pace: runs out in " + Fmt::duration(forecast.runsOutAt, now, false);
    if (forecast.resetsAt)
        text += ", " + Fmt::duration(*forecast.resetsAt, forecast.runsOutAt, false) + " before the reset";
    return text;
}

bool warrantsPaceWarning(const PaceForecast& forecast, TimePoint now) {
    return forecast.resetsAt && *forecast.resetsAt - forecast.runsOutAt >= 30min &&
           forecast.runsOutAt - now <= 2h;
}

std::string paceWarningText(ProviderID id, const PaceForecast& forecast, TimePoint now) {
    std::string text = std::string(displayName(id)) + ": at this pace you run out in " +
                       Fmt::duration(forecast.runsOutAt, now, false);
    if (forecast.resetsAt)
        text += ", " + Fmt::duration(*forecast.resetsAt, forecast.runsOutAt, false) + " before the reset";
    return text;
}

} // namespace ostrel
