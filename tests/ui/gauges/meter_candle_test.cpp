#include "ui/gauges/candle_layout.h"
#include "ui/gauges/meter_layout.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace ostrel;

namespace {

double angleOf(Point from, Point to) {
    return std::atan2(to.y - from.y, to.x - from.x) * 180 / kPi;
}

} // namespace

TEST(MeterLayout, NeedlePointsAtTheLevel) {
    const Size size{190, 150};
    const MeterLayout empty = meterLayout({0, UsageLevel::low, 0, 0}, size);
    const MeterLayout half = meterLayout({0.5, UsageLevel::high, 0, 0}, size);
    const MeterLayout full = meterLayout({1, UsageLevel::veryHigh, 0, 0}, size);
    EXPECT_DOUBLE_EQ(empty.needleAngle, 150);
    EXPECT_DOUBLE_EQ(half.needleAngle, 270);
    EXPECT_DOUBLE_EQ(full.needleAngle, 390);

    // The tip glow sits at the end of the value arc: straight up at one half.
    const Point c = half.dial.centre();
    EXPECT_NEAR(half.tipCentre.x, c.x, 1e-9);
    EXPECT_NEAR(half.tipCentre.y, c.y - half.radius, 1e-9);
    EXPECT_FALSE(empty.tipGlow);
    EXPECT_FALSE(meterLayout({0.01, UsageLevel::low, 0, 0}, size).tipGlow);
    EXPECT_TRUE(meterLayout({0.011, UsageLevel::low, 0, 0}, size).tipGlow);
}

TEST(MeterLayout, NeedleTremblesMoreUnderThePointer) {
    double calm = 0, hovered = 0;
    for (double t = 0; t < 60; t += 0.01) {
        calm = std::max(calm, std::abs(meterTremble(t, 0)));
        hovered = std::max(hovered, std::abs(meterTremble(t, 1)));
    }
    EXPECT_LE(calm, 1.2 + 1e-9);
    EXPECT_GT(calm, 1.0);
    EXPECT_LE(hovered, 3.6 + 1e-9);
    EXPECT_GT(hovered, 3.0);
}

TEST(MeterLayout, DialFitsAWideShortSpaceByItsHeight) {
    const MeterLayout m = meterLayout({0.5, UsageLevel::high, 0, 0}, {400, 100});
    EXPECT_DOUBLE_EQ(m.diameter, 125);
    EXPECT_DOUBLE_EQ(m.dial.y, 0); // the visible 0.8 D is exactly the height
    EXPECT_DOUBLE_EQ(m.dial.midX(), 200);
    // In a tall space the width rules and the 0.8 D band is centred.
    const MeterLayout tall = meterLayout({0.5, UsageLevel::high, 0, 0}, {100, 300});
    EXPECT_DOUBLE_EQ(tall.diameter, 100);
    EXPECT_DOUBLE_EQ(tall.dial.y, 110);
}

TEST(MeterLayout, TicksCoverTheScaleMajorEveryTenPercent) {
    const MeterLayout m = meterLayout({0.3, UsageLevel::medium, 0, 0}, {190, 150});
    const Point c = m.dial.centre();
    const double d = m.diameter;
    int majors = 0;
    for (std::size_t i = 0; i < m.ticks.size(); ++i) {
        const MeterTick& tick = m.ticks[i];
        const double outer = std::hypot(tick.line.from.x - c.x, tick.line.from.y - c.y);
        const double inner = std::hypot(tick.line.to.x - c.x, tick.line.to.y - c.y);
        EXPECT_NEAR(outer, d / 2 - 1.5 * m.ring, 1e-9);
        const bool major = tick.opacity == 0.55;
        majors += major;
        EXPECT_NEAR(outer - inner, major ? 0.07 * d : 0.035 * d, 1e-9) << i;
        const double expected = std::remainder(150 + 12.0 * static_cast<double>(i), 360);
        EXPECT_NEAR(angleOf(c, tick.line.from), expected, 1e-9) << i;
    }
    EXPECT_EQ(majors, 11);
}

TEST(CandleLayout, LitThresholdAndWaxHeight) {
    const Size size{110, 170};
    const CandleLayout out = candleLayout({0.004, UsageLevel::low, 0, 0}, size);
    const CandleLayout lit = candleLayout({0.006, UsageLevel::low, 0, 0}, size);
    EXPECT_FALSE(out.lit);
    EXPECT_TRUE(lit.lit);
    EXPECT_FALSE(out.drip);
    EXPECT_DOUBLE_EQ(out.bodyHeight, 0.04 * 170); // a stub, never nothing

    const CandleLayout full = candleLayout({1, UsageLevel::veryHigh, 0, 0}, size);
    EXPECT_NEAR(full.bodyHeight, 0.62 * 170, 1e-9);
    EXPECT_NEAR(full.topY, 0.32 * 170, 1e-9);
    EXPECT_TRUE(full.drip);
    EXPECT_FALSE(candleLayout({0.19, UsageLevel::medium, 0, 0}, size).drip); // 0.118 H of wax
    EXPECT_TRUE(candleLayout({0.2, UsageLevel::medium, 0, 0}, size).drip);
}

TEST(CandleLayout, LowFlameIsSmallerAndSwaysMore) {
    const Size size{110, 170};
    const double t = 0.37;
    const CandleLayout low = candleLayout({0.08, UsageLevel::low, t, 0}, size);
    const CandleLayout medium = candleLayout({0.08, UsageLevel::medium, t, 0}, size);
    EXPECT_DOUBLE_EQ(low.flameHeight, 0.75 * medium.flameHeight);
    EXPECT_NEAR(low.flameTurn, 2.2 * medium.flameTurn, 1e-12);
    EXPECT_NEAR(low.flameStretch - 1, 2.2 * (medium.flameStretch - 1), 1e-12);
    const CandleLayout still = candleLayout({0.5, UsageLevel::high, 0, 0}, size);
    EXPECT_DOUBLE_EQ(still.flameTurn, 0);
    EXPECT_DOUBLE_EQ(still.flameStretch, 1);
}

TEST(CandleLayout, PointerBlowsTheFlameOverClockwiseAboutItsBase) {
    const CandleLayout c = candleLayout({0.5, UsageLevel::high, 0, 1}, {110, 170});
    const Point base = c.flamePlacement.apply({0, 0});
    const Point tip = c.flamePlacement.apply({0, -c.flameHeight});
    // The flame box stands on the wick top.
    EXPECT_NEAR(base.x, 55, 1e-9);
    EXPECT_NEAR(base.y, c.wickTop + 0.01 * 170, 1e-9);
    EXPECT_GT(tip.x, base.x);
    EXPECT_NEAR(angleOf(base, tip), -90 + 14, 1e-9);
}
