#include "ui/panel/panel_rules.h"

#include "model/fmt.h"

#include <algorithm>

namespace ostrel {

std::optional<ProviderID> chooseSelected(const std::vector<ProviderID>& tabs, std::string_view storedRaw) {
    if (const auto stored = providerFromRaw(storedRaw);
        stored && std::find(tabs.begin(), tabs.end(), *stored) != tabs.end())
        return stored;
    if (tabs.empty()) return std::nullopt;
    return tabs.front();
}

std::optional<double> mainPercentLeft(const ProviderState& state) {
    if (!state.snapshot || !state.snapshot->main) return std::nullopt;
    return state.snapshot->main->percentLeft();
}

ProviderPicture pictureFor(const ProviderState& state) {
    if (state.needsLogin) return ProviderPicture::loginPrompt;
    if (!state.snapshot) return state.lastAttempt ? ProviderPicture::failed : ProviderPicture::checking;
    if (!state.snapshot->main) return ProviderPicture::info;
    return ProviderPicture::usage;
}

std::string infoText(const UsageSnapshot& snapshot) {
    return snapshot.message.value_or("No usage data yet");
}

std::string chartSummary(const std::vector<UsageReading>& readings) {
    if (readings.empty()) return "Past 7 days: no readings";
    const auto left = [](const UsageReading& r) {
        return UsageLimit{r.limitId, r.title, r.percentUsed, r.resetsAt}.percentLeft();
    };
    double low = left(readings.front()), high = low;
    int resets = 0;
    for (std::size_t i = 0; i < readings.size(); ++i) {
        low = std::min(low, left(readings[i]));
        high = std::max(high, left(readings[i]));
        if (i > 0 && isReset(readings[i - 1], readings[i])) ++resets;
    }
    std::string text = "Past 7 days: ";
    if (low == high)
        text += Fmt::percent(low) + " left throughout";
    else
        text += "between " + Fmt::percent(low) + " and " + Fmt::percent(high) + " left, now " +
                Fmt::percent(left(readings.back())) + " left";
    if (resets == 1) text += ", reset once";
    if (resets > 1) text += ", reset " + std::to_string(resets) + " times";
    return text;
}

} // namespace ostrel
