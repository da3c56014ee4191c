#pragma once
// The gauge vocabulary: the six themes with their persisted names and sizes, the four numbers each
// gauge draws from, and the two liquid colours per band. No toolkit types here.

#include "model/usage.h"

#include <array>
#include <optional>
#include <string_view>

namespace ostrel {

enum class GaugeTheme { glass, bubble, meter, candle, hearts, plant };

inline constexpr std::array<GaugeTheme, 6> allGaugeThemes{GaugeTheme::glass,  GaugeTheme::bubble,
                                                          GaugeTheme::meter,  GaugeTheme::candle,
                                                          GaugeTheme::hearts, GaugeTheme::plant};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

// The persisted string; the first three keep their historical names ("theme1", "theme3", "theme4").
std::string_view rawValue(GaugeTheme theme);
std::optional<GaugeTheme> gaugeThemeFromRaw(std::string_view raw);
std::string_view displayName(GaugeTheme theme);
Size naturalSize(GaugeTheme theme);

struct Rgb {
    double r = 0, g = 0, b = 0;
    bool operator==(const Rgb&) const = default;
};

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
