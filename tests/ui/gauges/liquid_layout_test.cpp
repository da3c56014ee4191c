#include "ui/gauges/gauge_theme.h"
#include "ui/gauges/liquid_layout.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace ostrel;

namespace {

std::vector<Point> waveEdge(const Path& shape) {
    // The body is: bottom-left, the edge samples, (maxX, baseY), bottom-right, close.
    std::vector<Point> pts = shape.endPoints();
    return {pts.begin() + 1, pts.end() - 2};
}

} // namespace

TEST(LiquidLayout, TaperFlattensTheSurfaceNearEmptyAndFull) {
    EXPECT_DOUBLE_EQ(surfaceTaper(0), 0);
    EXPECT_DOUBLE_EQ(surfaceTaper(1), 0);
    EXPECT_DOUBLE_EQ(surfaceTaper(0.5), 1);
    EXPECT_DOUBLE_EQ(surfaceTaper(0.025), 0.5);
    EXPECT_NEAR(surfaceTaper(0.99), 0.2, 1e-12);
}

TEST(LiquidLayout, SurfaceSitsAtTheLevelWithinTheAmplitude) {
    const Rect r{10, 20, 120, 100};
    EXPECT_DOUBLE_EQ(waveBaseY(r, 0.25), 95);
    const std::vector<Point> flat = waveEdge(waveShape(r, 0.25, 0.7, 0));
    for (const Point& p : flat)
        EXPECT_DOUBLE_EQ(p.y, 95);
    const std::vector<Point> wavy = waveEdge(waveShape(r, 0.25, 0.7, 3));
    double lo = 1e9, hi = -1e9;
    for (const Point& p : wavy) {
        lo = std::min(lo, p.y);
        hi = std::max(hi, p.y);
    }
    EXPECT_GE(lo, 92 - 1e-9);
    EXPECT_LE(hi, 98 + 1e-9);
    EXPECT_GT(hi - lo, 5); // three half-waves reach both crests
}

TEST(LiquidLayout, WaveIsSampledEveryTwoPointsAcrossTheWidth) {
    const std::vector<Point> even = waveLine({0, 0, 120, 170}, 0.5, 0, 2).endPoints();
    ASSERT_EQ(even.size(), 61u);
    EXPECT_DOUBLE_EQ(even.front().x, 0);
    EXPECT_DOUBLE_EQ(even.back().x, 120);
    EXPECT_NEAR(even.front().y, 85, 1e-12); // sin(0) at the left edge
    const std::vector<Point> odd = waveLine({0, 0, 121, 170}, 0.5, 0, 2).endPoints();
    EXPECT_DOUBLE_EQ(odd.back().x, 120);

    const std::vector<Point> body = waveShape({0, 0, 121, 170}, 0.5, 0, 2).endPoints();
    EXPECT_EQ(body.front(), (Point{0, 170}));
    EXPECT_EQ(body[body.size() - 2], (Point{121, 85}));
    EXPECT_EQ(body.back(), (Point{121, 170}));
}

TEST(LiquidLayout, BubblesStayBelowTheSurface) {
    const Size canvas{120, 170};
    for (double level : {0.03, 0.1, 0.5, 0.9, 1.0}) {
        const double surface = canvas.height * (1 - level);
        for (double extra : {0.0, 0.5, 1.0}) {
            for (double t = 0; t < 40; t += 0.037) {
                const BubbleList list = bubbles(canvas, t, level, extra);
                ASSERT_LE(list.count, extra > 0.01 ? 20 : 10);
                for (const BubbleDot& b : list) {
                    ASSERT_GT(b.centre.y, surface + 2) << level << " " << t;
                    ASSERT_LE(b.centre.y, canvas.height);
                    ASSERT_GE(b.opacity, 0);
                    ASSERT_LE(b.opacity, 0.35);
                    ASSERT_TRUE(b.radius == 1.5 || b.radius == 2.5 || b.radius == 3.5);
                }
            }
        }
    }
}

TEST(LiquidLayout, ExtraBubblesComeOnlyWithHover) {
    const Size canvas{120, 170};
    EXPECT_EQ(bubbles(canvas, 3.3, 4.0 / 170, 1).count, 0); // liquid only 4 points high
    int still = 0, hovered = 0;
    for (double t = 0; t < 20; t += 0.5) {
        still = std::max(still, bubbles(canvas, t, 1, 0).count);
        hovered = std::max(hovered, bubbles(canvas, t, 1, 1).count);
    }
    EXPECT_EQ(still, 10);
    EXPECT_GT(hovered, 15);
}

TEST(LiquidLayout, GlassWaveGrowsWithHoverAndStreaksKeepAMinimumWidth) {
    const GlassLayout calm = glassLayout({0.5, UsageLevel::high, 0, 0}, {120, 170});
    const GlassLayout hovered = glassLayout({0.5, UsageLevel::high, 0, 1}, {120, 170});
    EXPECT_GT(hovered.amplitude, calm.amplitude);
    EXPECT_EQ(glassLayout({0, UsageLevel::low, 0, 1}, {120, 170}).amplitude, 0);
    EXPECT_FALSE(glassLayout({0.01, UsageLevel::low, 0, 0}, {120, 170}).surfaceLine);
    EXPECT_TRUE(glassLayout({0.02, UsageLevel::low, 0, 0}, {120, 170}).surfaceLine);

    EXPECT_GT(calm.leftStreakWidth, 2);
    const GlassLayout narrow = glassLayout({0.5, UsageLevel::high, 0, 0}, {40, 60});
    EXPECT_DOUBLE_EQ(narrow.leftStreakWidth, 2);
    EXPECT_DOUBLE_EQ(narrow.rightStreakWidth, 1);
}

TEST(LiquidLayout, BubbleGlowsMoreWhenFullerAndBobsMoreUnderThePointer) {
    const BubbleLayout empty = bubbleLayout({0, UsageLevel::low, 0, 0}, {130, 130});
    const BubbleLayout full = bubbleLayout({1, UsageLevel::veryHigh, 0, 0}, {130, 130});
    EXPECT_GT(full.glowOpacity, empty.glowOpacity);
    EXPECT_NEAR(empty.bubble.midX(), 65, 1e-9) << "centred";
    EXPECT_NEAR(empty.bubble.midY(), 65, 1e-9);
    EXPECT_LT(empty.bubble.width, 130) << "room for the glow";
    const double peak = 3.14159265358979 / 2 / 1.3; // sin(1.3 t) = 1
    const double calm = bubbleLayout({0.5, UsageLevel::high, peak, 0}, {130, 130}).bob;
    const double hovered = bubbleLayout({0.5, UsageLevel::high, peak, 1}, {130, 130}).bob;
    EXPECT_GT(calm, 0);
    EXPECT_GT(hovered, 2 * calm);
}

TEST(GaugeTheme, LiquidColoursShareAmberBetweenMediumAndHigh) {
    EXPECT_EQ(liquidColors(UsageLevel::medium), liquidColors(UsageLevel::high));
    EXPECT_NE(liquidColors(UsageLevel::low), liquidColors(UsageLevel::veryHigh));
}
