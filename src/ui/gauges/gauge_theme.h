#pragma once
// The gauge vocabulary: the themes' display names and sizes, the four numbers each
// gauge draws from, and the two liquid colours per band. No toolkit types here.

#include "base/gauge_theme_id.h"
#include "base/rgb.h"
#include "base/usage.h"

#include <array>
#include <optional>
#include <string_view>

namespace ostrel {

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

std::string_view displayName(GaugeTheme theme);
Size naturalSize(GaugeTheme theme);

// Light colour first, deep colour second.
std::array<Rgb, 2> liquidColors(UsageLevel level);

// What every gauge draws from.
struct GaugeInputs {
    double level = 0;                        // fraction left, 0…1, as displayed (already animated)
    UsageLevel state = UsageLevel::veryHigh; // band of the same limit
    double t = 0;                            // seconds, for idle motion; 0 when motion is off
    double hover = 0;                        // 0 pointer away … 1 pointer resting on the gauge
};

} // namespace ostrel
