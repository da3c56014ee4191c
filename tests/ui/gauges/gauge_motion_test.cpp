#include "ui/gauges/gauge_motion.h"

#include <gtest/gtest.h>

using namespace ostrel;

TEST(GaugeMotion, FillsFromEmptyAlongEaseOutCubic) {
    GaugeMotion m;
    m.appear(0.6, 10.0);
    EXPECT_DOUBLE_EQ(m.displayed(10.0), 0.0);
    EXPECT_NEAR(m.displayed(10.45), 0.6 * 0.875, 1e-12);
    EXPECT_NEAR(m.displayed(10.3), 0.6 * (1 - 8.0 / 27), 1e-12);
    EXPECT_DOUBLE_EQ(m.displayed(10.9), 0.6);
    EXPECT_DOUBLE_EQ(m.displayed(50.0), 0.6);
    // A clock before the start counts as the start.
    EXPECT_DOUBLE_EQ(m.displayed(3.0), 0.0);
}

TEST(GaugeMotion, RetargetContinuesFromTheShownValueWithoutAJump) {
    GaugeMotion m;
    m.appear(0.6, 0.0);
    const double shown = m.displayed(0.3);
    m.retarget(0.2, 0.3);
    EXPECT_DOUBLE_EQ(m.displayed(0.3), shown);
    EXPECT_NEAR(m.displayed(0.3 + 1e-4), shown, 1e-3);
    double previous = shown;
    for (double t = 0.35; t < 1.2; t += 0.05) {
        const double v = m.displayed(t);
        EXPECT_LT(v, previous) << t;
        EXPECT_GT(v, 0.2) << t;
        previous = v;
    }
    EXPECT_DOUBLE_EQ(m.displayed(1.2), 0.2);
}

TEST(GaugeMotion, HoverAndLeanEaseWithSmoothstep) {
    GaugeMotion m;
    const Size size{200, 100};
    m.pointerMoved(100, 50, size, 5.0); // the exact centre
    EXPECT_DOUBLE_EQ(m.hoverAmount(5.0), 0.0);
    EXPECT_NEAR(m.hoverAmount(5.175), 0.5, 1e-12);
    EXPECT_NEAR(m.hoverAmount(5.0875), 0.25 * 0.25 * 2.5, 1e-12);
    EXPECT_DOUBLE_EQ(m.hoverAmount(5.35), 1.0);
    EXPECT_EQ(m.leanAmount(5.35), (Size{0, 0}));

    m.pointerMoved(200, 0, size, 6.0); // right edge, top: lean (1, −1)
    EXPECT_NEAR(m.leanAmount(6.175).width, 0.5, 1e-12);
    EXPECT_EQ(m.leanAmount(6.35), (Size{1, -1}));
    // Beyond the edges the lean is clamped.
    m.pointerMoved(500, 250, size, 7.0);
    EXPECT_EQ(m.leanAmount(8.0), (Size{1, 1}));
}

TEST(GaugeMotion, LeavingEasesBackFromWhereverItWas) {
    GaugeMotion m;
    m.pointerMoved(200, 50, {200, 100}, 0.0);
    const double hover = m.hoverAmount(0.1);
    const double lean = m.leanAmount(0.1).width;
    ASSERT_GT(hover, 0.0);
    ASSERT_LT(hover, 1.0);
    m.pointerLeft(0.1);
    EXPECT_DOUBLE_EQ(m.hoverAmount(0.1), hover);
    EXPECT_DOUBLE_EQ(m.leanAmount(0.1).width, lean);
    EXPECT_NEAR(m.hoverAmount(0.275), hover / 2, 1e-12);
    EXPECT_DOUBLE_EQ(m.hoverAmount(0.45), 0.0);
    EXPECT_EQ(m.leanAmount(0.45), (Size{0, 0}));
}

TEST(GaugeMotion, PointerOverAnEmptyViewChangesNothing) {
    GaugeMotion m;
    m.pointerMoved(10, 10, {0, 100}, 1.0);
    m.pointerMoved(10, 10, {100, 0}, 1.0);
    EXPECT_DOUBLE_EQ(m.hoverAmount(2.0), 0.0);
    EXPECT_EQ(m.leanAmount(2.0), (Size{0, 0}));
}

TEST(GaugeFrame, LeanTurnsAndShiftsTheGauge) {
    GaugeMotion m;
    m.appear(0.5, 0.0);
    m.pointerMoved(120, 170, {120, 170}, 0.0); // bottom-right corner
    const GaugeFrame f = gaugeFrame(m, 0.5, UsageLevel::high, true, 2.0, {120, 170});
    EXPECT_DOUBLE_EQ(f.rotationDegrees, 6.0);
    EXPECT_DOUBLE_EQ(f.offset.x, 6.0);
    EXPECT_DOUBLE_EQ(f.offset.y, 8.5);
    EXPECT_DOUBLE_EQ(f.inputs.hover, 1.0);
}
