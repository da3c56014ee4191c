#include "ui/panel/panel_rules.h"

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

} // namespace ostrel
