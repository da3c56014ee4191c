#include "ui/gauges/gauge_theme.h"

namespace ostrel {

std::string_view displayName(GaugeTheme theme) {
    switch (theme) {
    case GaugeTheme::glass:
        return "Glass";
    case GaugeTheme::bubble:
        return "Bubble";
    case GaugeTheme::meter:
        return "Meter";
    case GaugeTheme::candle:
        return "Candle";
    case GaugeTheme::hearts:
        return "Hearts";
    case GaugeTheme::plant:
        return "Plant";
    }
    return "";
}

Size naturalSize(GaugeTheme theme) {
    switch (theme) {
    case GaugeTheme::glass:
        return {120, 170};
    case GaugeTheme::bubble:
        return {130, 130};
    case GaugeTheme::meter:
        return {190, 150};
    case GaugeTheme::candle:
        return {110, 170};
    case GaugeTheme::hearts:
        return {220, 70};
    case GaugeTheme::plant:
        return {130, 170};
    }
    return {};
}

std::array<Rgb, 2> liquidColors(UsageLevel level) {
    switch (level) {
    case UsageLevel::low:
        return {Rgb{0.98, 0.45, 0.38}, Rgb{0.75, 0.15, 0.14}};
    case UsageLevel::medium:
    case UsageLevel::high:
        return {Rgb{1.0, 0.88, 0.38}, Rgb{0.92, 0.68, 0.08}};
    case UsageLevel::veryHigh:
        return {Rgb{0.46, 0.82, 0.42}, Rgb{0.22, 0.58, 0.24}};
    }
    return {};
}

} // namespace ostrel
