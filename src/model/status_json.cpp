#include "model/status_json.h"

#include "model/usage_history.h"
#include "model/usage_model.h"

#include <cmath>
#include <ctime>
#include <nlohmann/json.hpp>

namespace ostrel {

namespace {

nlohmann::ordered_json timeOrNull(const std::optional<TimePoint>& t) {
    return t ? nlohmann::ordered_json(isoTime(*t)) : nlohmann::ordered_json(nullptr);
}

std::optional<PaceForecast> forecastOf(const UsageHistory* history, ProviderID id) {
    return history ? history->forecast(id) : std::nullopt;
}

nlohmann::ordered_json serviceJson(const UsageModel& model, const UsageHistory* history, ProviderID id,
                                   TimePoint now) {
    const ProviderState s = model.state(id);
    nlohmann::ordered_json j;
    j["id"] = std::string(rawValue(id));
    j["name"] = std::string(displayName(id));
    const std::optional<UsageLimit> main = s.snapshot ? s.snapshot->main : std::nullopt;
    j["percentLeft"] = main ? nlohmann::ordered_json(main->percentLeft()) : nlohmann::ordered_json(nullptr);
    j["level"] = main ? nlohmann::ordered_json(levelName(main->level())) : nlohmann::ordered_json(nullptr);
    j["resetsAt"] = timeOrNull(main ? main->resetsAt : std::nullopt);
    const std::optional<PaceForecast> f = forecastOf(history, id);
    j["runsOutAt"] = timeOrNull(f && f->runsOutFirst() ? std::optional(f->runsOutAt) : std::nullopt);
    j["needsLogin"] = s.needsLogin;
    // Numbers on show that are not current: the last refresh failed, or none has succeeded for a while.
    j["stale"] =
        s.snapshot.has_value() && !s.needsLogin && (s.lastError.has_value() || model.isStale(id, now));
    j["status"] = model.statusAt(id, now);
    nlohmann::ordered_json others = nlohmann::ordered_json::array();
    if (s.snapshot)
        for (const UsageLimit& o : s.snapshot->others)
            others.push_back({{"id", o.id},
                              {"title", o.title},
                              {"percentLeft", o.percentLeft()},
                              {"resetsAt", timeOrNull(o.resetsAt)}});
    j["others"] = std::move(others);
    return j;
}

} // namespace

std::string isoTime(TimePoint t) {
    const std::time_t secs = std::chrono::system_clock::to_time_t(t);
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
    return buf;
}

std::string levelName(UsageLevel level) {
    switch (level) {
    case UsageLevel::low:
        return "low";
    case UsageLevel::medium:
        return "medium";
    case UsageLevel::high:
        return "high";
    case UsageLevel::veryHigh:
        return "veryHigh";
    }
    return "veryHigh";
}

std::string statusJson(const UsageModel& model, const UsageHistory* history, TimePoint now) {
    nlohmann::ordered_json services = nlohmann::ordered_json::array();
    for (ProviderID id : model.activeProviders())
        services.push_back(serviceJson(model, history, id, now));
    return nlohmann::ordered_json{{"services", std::move(services)}, {"updatedAt", isoTime(now)}}.dump();
}

std::string waybarJson(const UsageModel& model, const UsageHistory* history) {
    std::string text, tooltip = model.trayAccessibilityText();
    std::optional<double> lowest;
    std::optional<UsageLevel> lowestLevel;
    for (const TrayEntry& e : model.trayEntries()) {
        text += (text.empty() ? "" : "  ") + std::string(displayName(e.id)) + " " + e.text;
        const ProviderState state = model.state(e.id); // a copy: the limit below is read from it
        const UsageLimit& main = *state.snapshot->main;
        if (!lowest || main.percentLeft() < *lowest) {
            lowest = main.percentLeft();
            lowestLevel = main.level();
        }
        if (auto f = forecastOf(history, e.id))
            tooltip += "\n" + std::string(displayName(e.id)) + ": " + paceText(*f, model.now());
    }
    nlohmann::ordered_json j{{"text", text.empty() ? std::string("Ostrel") : text},
                             {"tooltip", tooltip},
                             {"class", lowestLevel ? levelName(*lowestLevel) : std::string("none")}};
    if (lowest) j["percentage"] = static_cast<int>(std::lround(*lowest));
    return j.dump();
}

} // namespace ostrel
