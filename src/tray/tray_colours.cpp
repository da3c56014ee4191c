// SPDX-License-Identifier: GPL-3.0-or-later
#include "tray/tray_colours.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

namespace {
double luminance(Rgb c) {
    auto linear = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(c.r) + 0.7152 * linear(c.g) + 0.0722 * linear(c.b);
}
} // namespace

Rgb chipColour(bool isDark) {
    const double v = isDark ? 0x22 / 255.0 : 0xee / 255.0;
    return {v, v, v};
}

Rgb chipTextColour(bool isDark) {
    const double v = isDark ? 1.0 : 0.0;
    return {v, v, v};
}

Rgb iconColor(UsageLevel level, bool isDark) {
    switch (level) {
    case UsageLevel::low:
        return isDark ? Rgb{1.0, 0.36, 0.33} : Rgb{0.85, 0.12, 0.10};
    case UsageLevel::medium:
    case UsageLevel::high:
        // A deeper amber than the gauges' on light: the lighter one reads at only 2.6:1 on a light bar.
        return isDark ? Rgb{1.0, 0.84, 0.2} : Rgb{0.66, 0.47, 0.0};
    case UsageLevel::veryHigh:
        return isDark ? Rgb{0.52, 0.86, 0.48} : Rgb{0.16, 0.55, 0.18};
    }
    return {};
}

double contrastRatio(Rgb a, Rgb b) {
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

} // namespace ostrel
