#pragma once
// The six gauge themes and the names settings files hold for them. The pictures themselves live
// with the gauges; the settings only need the ids.

#include <array>
#include <optional>
#include <string_view>

namespace ostrel {

enum class GaugeTheme { glass, bubble, meter, candle, hearts, plant };

inline constexpr std::array<GaugeTheme, 6> allGaugeThemes{GaugeTheme::glass,  GaugeTheme::bubble,
                                                          GaugeTheme::meter,  GaugeTheme::candle,
                                                          GaugeTheme::hearts, GaugeTheme::plant};

// The persisted string; the first three keep their historical names ("theme1", "theme3", "theme4").
std::string_view rawValue(GaugeTheme theme);
std::optional<GaugeTheme> gaugeThemeFromRaw(std::string_view raw);

} // namespace ostrel
