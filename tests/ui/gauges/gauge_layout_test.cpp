// What each gauge's picture says about the level, as a user reads it: where the liquid stands, where
// the needle points, whether the candle burns, how many hearts are left, whether the plant stands.
#include "ui/gauges/candle_layout.h"
#include "ui/gauges/gauge_theme.h"
#include "ui/gauges/hearts_layout.h"
#include "ui/gauges/liquid_layout.h"
#include "ui/gauges/meter_layout.h"
#include "ui/gauges/plant_layout.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace ostrel;

TEST(LiquidLayout, TheSurfaceStandsAtTheLevelAndBubblesStayBelowIt) {
    const Rect r{10, 20, 120, 100};
    EXPECT_DOUBLE_EQ(waveBaseY(r, 0.25), 95);
    // The wave moves the surface by at most its amplitude.
    const std::vector<Point> edge = waveShape(r, 0.25, 0.7, 3).endPoints();
    for (std::size_t i = 1; i + 2 < edge.size(); ++i) {
        EXPECT_GE(edge[i].y, 92 - 1e-9);
        EXPECT_LE(edge[i].y, 98 + 1e-9);
    }
    const Size canvas{120, 170};
    int still = 0, hovered = 0;
    for (double level : {0.03, 0.5, 1.0})
        for (double t = 0; t < 20; t += 0.037) {
            for (const BubbleDot& b : bubbles(canvas, t, level, 1))
                ASSERT_GT(b.centre.y, canvas.height * (1 - level) + 2) << level << " " << t;
            still = std::max(still, bubbles(canvas, t, level, 0).count);
            hovered = std::max(hovered, bubbles(canvas, t, level, 1).count);
        }
    EXPECT_EQ(still, 10);
    EXPECT_GT(hovered, 15) << "the pointer stirs up more bubbles";
    EXPECT_EQ(bubbles(canvas, 3.3, 4.0 / 170, 1).count, 0) << "no room under a surface 4 points high";
    EXPECT_GT(glassLayout({0.5, UsageLevel::high, 0, 1}, canvas).amplitude,
              glassLayout({0.5, UsageLevel::high, 0, 0}, canvas).amplitude);
    EXPECT_EQ(glassLayout({0, UsageLevel::low, 0, 1}, canvas).amplitude, 0) << "an empty glass is still";
    EXPECT_GT(bubbleLayout({1, UsageLevel::veryHigh, 0, 0}, {130, 130}).glowOpacity,
              bubbleLayout({0, UsageLevel::low, 0, 0}, {130, 130}).glowOpacity);
    EXPECT_EQ(liquidColors(UsageLevel::medium), liquidColors(UsageLevel::high));
    EXPECT_NE(liquidColors(UsageLevel::low), liquidColors(UsageLevel::veryHigh));
}

TEST(MeterLayout, TheNeedleSweepsFromLeftThroughTopToRight) {
    const Size size{190, 150};
    for (const auto& [level, angle] : {std::pair{0.0, 150.0}, {0.5, 270.0}, {1.0, 390.0}})
        EXPECT_DOUBLE_EQ(meterLayout({level, levelForPercentLeft(level * 100), 0, 0}, size).needleAngle,
                         angle);
    const MeterLayout half = meterLayout({0.5, UsageLevel::high, 0, 0}, size);
    EXPECT_NEAR(half.tipCentre.x, half.dial.centre().x, 1e-9) << "the value arc ends straight up at one half";
    EXPECT_FALSE(meterLayout({0.01, UsageLevel::low, 0, 0}, size).tipGlow);
    EXPECT_TRUE(meterLayout({0.011, UsageLevel::low, 0, 0}, size).tipGlow);
    double calm = 0, hovered = 0;
    for (double t = 0; t < 60; t += 0.01) {
        calm = std::max(calm, std::abs(meterTremble(t, 0)));
        hovered = std::max(hovered, std::abs(meterTremble(t, 1)));
    }
    EXPECT_GT(hovered, 2 * calm) << "the needle trembles more under the pointer";
    EXPECT_DOUBLE_EQ(meterLayout({0.5, UsageLevel::high, 0, 0}, {400, 100}).dial.midX(), 200);
}

TEST(CandleLayout, BurnsDownAndGoesOutOnlyWhenAlmostNothingIsLeft) {
    const Size size{110, 170};
    EXPECT_FALSE(candleLayout({0.004, UsageLevel::low, 0, 0}, size).lit);
    EXPECT_TRUE(candleLayout({0.006, UsageLevel::low, 0, 0}, size).lit);
    EXPECT_GT(candleLayout({0.004, UsageLevel::low, 0, 0}, size).bodyHeight, 0) << "a stub, never nothing";
    EXPECT_GT(candleLayout({1, UsageLevel::veryHigh, 0, 0}, size).bodyHeight,
              candleLayout({0.5, UsageLevel::high, 0, 0}, size).bodyHeight);
    const CandleLayout low = candleLayout({0.08, UsageLevel::low, 0.37, 0}, size);
    const CandleLayout medium = candleLayout({0.08, UsageLevel::medium, 0.37, 0}, size);
    EXPECT_LT(low.flameHeight, medium.flameHeight) << "a low band's flame is smaller";
    EXPECT_GT(std::abs(low.flameTurn), std::abs(medium.flameTurn)) << "and flickers more";
    const CandleLayout blown = candleLayout({0.5, UsageLevel::high, 0, 1}, size);
    EXPECT_GT(blown.flamePlacement.apply({0, -blown.flameHeight}).x, blown.flamePlacement.apply({0, 0}).x)
        << "the pointer blows the flame over";
}

TEST(HeartsLayout, HeartsDrainFromTheRightAndOnlyALowLastHeartBeats) {
    auto columns = [](double level) {
        const HeartsLayout layout = heartsLayout({level, UsageLevel::medium, 0, 0}, {220, 70});
        std::array<int, kHeartCount> out{};
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = heartFilledColumns(layout.hearts[i].fill);
        return out;
    };
    EXPECT_EQ(columns(1), (std::array<int, 5>{7, 7, 7, 7, 7}));
    EXPECT_EQ(columns(0.5), (std::array<int, 5>{7, 7, 4, 0, 0})); // 3.5 columns round up
    EXPECT_EQ(columns(0.08), (std::array<int, 5>{3, 0, 0, 0, 0}));
    EXPECT_EQ(columns(0), (std::array<int, 5>{0, 0, 0, 0, 0}));
    for (const HeartPixel& p : heartPixels(0.4, 4))
        EXPECT_EQ(p.ink == HeartInk::empty, static_cast<int>(p.square.x / 4) >= 3);

    const double thump = 3.14159265358979323846 / 14; // sin(7 t) = 1
    const HeartsLayout low = heartsLayout({0.08, UsageLevel::low, thump, 0}, {220, 70});
    EXPECT_GT(low.hearts[0].beat, 1.15);
    EXPECT_DOUBLE_EQ(low.hearts[1].beat, 1);
    EXPECT_DOUBLE_EQ(heartsLayout({0.08, UsageLevel::medium, thump, 0}, {220, 70}).hearts[0].beat, 1);
    EXPECT_DOUBLE_EQ(heartsLayout({0, UsageLevel::low, thump, 0}, {220, 70}).hearts[0].beat, 1);
}

TEST(PlantLayout, StandsUpWhenFullAndWiltsWhenEmpty) {
    const Size size{130, 170};
    const PlantLayout full = plantLayout({1, UsageLevel::veryHigh, 0, 0}, size);
    const PlantLayout empty = plantLayout({0, UsageLevel::low, 0, 0}, size);
    EXPECT_DOUBLE_EQ(full.stemTip.x, 65) << "upright over the pot";
    EXPECT_GT(empty.stemTip.x, 65 + 20) << "bent over to the side";
    EXPECT_GT(empty.stemTip.y, full.stemTip.y + 40) << "and lower";
    // Leaves raised when full, hanging when empty.
    const Point attachFull = stemPoint(full, 0.35), attachEmpty = stemPoint(empty, 0.35);
    EXPECT_LT(full.sideLeaves[1].transform.apply({0.11 * 130, 0}).y, attachFull.y);
    EXPECT_GT(empty.sideLeaves[1].transform.apply({0.11 * 130, 0}).y, attachEmpty.y);
}
