#pragma once
// The theme picker's rules: the level the miniatures start at, the band they are drawn in, the
// label, when "Back to my current level" is offered, and how small each miniature is drawn.

#include "ui/gauges/gauge_theme.h"

#include <optional>
#include <string>

namespace ostrel::ThemePreview {

inline constexpr double defaultPercent = 70;
// Every miniature sits in a frame this high.
inline constexpr double frameHeight = 76;

double initialPercent(std::optional<double> currentLevel);
// The band uses the unrounded value: 49.5 reads "50% left" but draws as medium.
UsageLevel band(double percent);
// "70% left".
std::string label(double percent);
// The current level is known and at least one point away from the preview.
bool offersCurrentLevel(std::optional<double> currentLevel, double percent);
// The natural size scaled by min(0.45, frame height / natural height).
Size miniatureSize(GaugeTheme theme);

} // namespace ostrel::ThemePreview
