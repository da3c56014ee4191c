#include "ui/gauges/gauge_theme.h"

#include <gtest/gtest.h>

using namespace ostrel;

TEST(GaugeTheme, PersistedNamesOrderAndSizes) {
    const char* raws[] = {"theme1", "theme3", "theme4", "candle", "hearts", "plant"};
    const char* names[] = {"Glass", "Bubble", "Meter", "Candle", "Hearts", "Plant"};
    for (std::size_t i = 0; i < allGaugeThemes.size(); ++i) {
        EXPECT_EQ(rawValue(allGaugeThemes[i]), raws[i]);
        EXPECT_EQ(displayName(allGaugeThemes[i]), names[i]);
        EXPECT_EQ(gaugeThemeFromRaw(raws[i]), allGaugeThemes[i]);
    }
    EXPECT_EQ(gaugeThemeFromRaw("theme3"), GaugeTheme::bubble);
    for (const char* bad : {"glass", "theme2", "Theme1", ""})
        EXPECT_EQ(gaugeThemeFromRaw(bad), std::nullopt) << bad;
    EXPECT_EQ(naturalSize(GaugeTheme::glass), (Size{120, 170}));
    EXPECT_EQ(naturalSize(GaugeTheme::hearts), (Size{220, 70}));
    EXPECT_EQ(naturalSize(GaugeTheme::meter), (Size{190, 150}));
}

TEST(GaugeTheme, LiquidColoursShareAmberBetweenMediumAndHigh) {
    EXPECT_EQ(liquidColors(UsageLevel::medium), liquidColors(UsageLevel::high));
    EXPECT_NE(liquidColors(UsageLevel::low), liquidColors(UsageLevel::veryHigh));
    EXPECT_EQ(liquidColors(UsageLevel::low)[1], (Rgb{0.75, 0.15, 0.14}));
    EXPECT_EQ(liquidColors(UsageLevel::veryHigh)[0], (Rgb{0.46, 0.82, 0.42}));
}
