#include "ui/panel/theme_preview.h"

#include "model/fmt.h"

#include <algorithm>
#include <cmath>

namespace ostrel::ThemePreview {

double initialPercent(std::optional<double> currentLevel) {
    return currentLevel.value_or(defaultPercent);
}

UsageLevel band(double percent) {
    return levelForPercentLeft(percent);
}

std::string label(double percent) {
    return Fmt::percent(percent) + " left";
}

bool offersCurrentLevel(std::optional<double> currentLevel, double percent) {
    return currentLevel && std::abs(*currentLevel - percent) >= 1;
}

Size miniatureSize(GaugeTheme theme) {
    const Size natural = naturalSize(theme);
    const double scale = std::min(0.45, frameHeight / natural.height);
    return {natural.width * scale, natural.height * scale};
}

} // namespace ostrel::ThemePreview
