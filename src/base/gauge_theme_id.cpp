#include "base/gauge_theme_id.h"

namespace ostrel {

std::string_view rawValue(GaugeTheme theme) {
    switch (theme) {
    case GaugeTheme::glass:
        return "theme1";
    case GaugeTheme::bubble:
        return "theme3";
    case GaugeTheme::meter:
        return "theme4";
    case GaugeTheme::candle:
        return "candle";
    case GaugeTheme::hearts:
        return "hearts";
    case GaugeTheme::plant:
        return "plant";
    }
    return "";
}

std::optional<GaugeTheme> gaugeThemeFromRaw(std::string_view raw) {
    for (GaugeTheme t : allGaugeThemes)
        if (rawValue(t) == raw) return t;
    return std::nullopt;
}

} // namespace ostrel
