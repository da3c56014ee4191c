#include "base/gauge_theme_id.h"

#include <gtest/gtest.h>

using namespace ostrel;

// The names are what settings files already hold: they must keep reading back as the same themes.
TEST(GaugeTheme, PersistedNamesReadBackStrictly) {
    const char* raws[] = {"theme1", "theme3", "theme4", "candle", "hearts", "plant"};
    for (std::size_t i = 0; i < allGaugeThemes.size(); ++i) {
        EXPECT_EQ(rawValue(allGaugeThemes[i]), raws[i]);
        EXPECT_EQ(gaugeThemeFromRaw(raws[i]), allGaugeThemes[i]);
    }
    for (const char* bad : {"glass", "theme2", "Theme1", ""})
        EXPECT_EQ(gaugeThemeFromRaw(bad), std::nullopt) << bad;
}
