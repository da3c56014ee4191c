#pragma once
// The panel's screens, their titles in the header and where "Back" leads from each.

#include <optional>
#include <string_view>

namespace ostrel {

enum class PanelScreen { main, settings, theme, support, supportQR, feedback };

// The header title of a screen; empty for the main screen, which shows the app's name instead.
std::string_view screenTitle(PanelScreen screen);
// Where the back button (and Escape) leads; none on the main screen.
std::optional<PanelScreen> backTarget(PanelScreen screen);

} // namespace ostrel
