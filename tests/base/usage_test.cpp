#include "base/gauge_theme_id.h"
#include "base/usage.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace ostrel;

TEST(ProviderID, StrictRawValues) {
    for (ProviderID id : allProviders)
        EXPECT_EQ(providerFromRaw(rawValue(id)), id);
    for (const char* bad : {"Claude", "", "codex "})
        EXPECT_EQ(providerFromRaw(bad), std::nullopt) << bad;
}

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

TEST(UsageLimit, PercentLeftIsClamped) {
    auto left = [](double used) { return UsageLimit{"id", "t", used, {}}.percentLeft(); };
    EXPECT_EQ(left(120), 0);
    EXPECT_EQ(left(-5), 100);
    EXPECT_EQ(left(37.5), 62.5);
    EXPECT_EQ(left(std::nan("")), 100);
}

TEST(UsageLevel, BoundariesBelongToTheUpperBand) {
    auto level = [](double used) { return UsageLimit{"id", "t", used, {}}.level(); };
    EXPECT_EQ(level(90), UsageLevel::medium);
    EXPECT_EQ(level(90.0001), UsageLevel::low);
    EXPECT_EQ(level(50), UsageLevel::high);
    EXPECT_EQ(level(50.0001), UsageLevel::medium);
    EXPECT_EQ(level(20), UsageLevel::veryHigh);
    EXPECT_EQ(level(20.0001), UsageLevel::high);
    EXPECT_EQ(level(std::nan("")), UsageLevel::veryHigh);
}
