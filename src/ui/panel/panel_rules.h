#pragma once
// What the panel derives from the model: which service the main screen shows, the level the theme
// picker starts at, and which of the provider panel's pictures a service's state calls for.

#include "model/forecast.h"
#include "model/provider_state.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// The stored choice when it names one of the tabs, else the first tab, else none. The stored value
// itself is left alone, so a service turned off and on again is shown again.
std::optional<ProviderID> chooseSelected(const std::vector<ProviderID>& tabs, std::string_view storedRaw);

// The main limit's percentage left, or none without numbers.
std::optional<double> mainPercentLeft(const ProviderState& state);

enum class ProviderPicture { loginPrompt, checking, failed, info, usage };

// First match wins: a logged-out service always asks to log in, even with old numbers held; one
// without numbers shows progress or the failure; numbers without a main limit give a message.
ProviderPicture pictureFor(const ProviderState& state);

// The message of a snapshot without a main limit.
std::string infoText(const UsageSnapshot& snapshot);

// What the history chart says to a screen reader, from the readings it draws (oldest first):
// "Past 7 days: between 12% and 100% left, now 29% left, reset 2 times".
std::string chartSummary(const std::vector<UsageReading>& readings);

} // namespace ostrel
