// The gauges' pure rules: the geometry they are drawn with, how the level and the pointer move, and
// what each picture says about the level as a user reads it (where the liquid stands, where the
// needle points, whether the candle burns, how many hearts are left, whether the plant stands).
#include "ui/gauges/candle_layout.h"
#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_motion.h"
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
    // The surface stands at 95 (a quarter full), the wave moves it by at most its amplitude.
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
    // Whether it burns is probed in the drawn picture (gauge_view_test).
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
    EXPECT_EQ(columns(0.5), (std::array<int, 5>{7, 7, 4, 0, 0})); // 3.5 columns round up
    EXPECT_EQ(columns(0.08), (std::array<int, 5>{3, 0, 0, 0, 0}));
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

namespace {

void expectNear(Point a, Point b) {
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
}

} // namespace

TEST(Affine, ComposesInOrderTurnsClockwiseOnScreenAndDecomposes) {
    // 90° clockwise with y down takes +x to +y.
    expectNear(Affine::rotation(90).apply({1, 0}), {0, 1});
    expectNear(Affine::scaling(2, 1).then(Affine::translation(10, 0)).apply({1, 1}), {12, 1});
    expectNear(Affine::translation(10, 0).then(Affine::scaling(2, 1)).apply({1, 1}), {22, 1});
    const Affine about = Affine::rotationAbout({5, 5}, 180);
    expectNear(about.apply({5, 5}), {5, 5});
    expectNear(about.apply({6, 5}), {4, 5});

    // Decomposes into move, turn and scale.
    const Affine a = Affine::scaling(1, 1.3).then(Affine::rotation(-25)).then(Affine::translation(40, 90));
    const AffineParts parts = decompose(a);
    EXPECT_NEAR(parts.rotationDegrees, -25, 1e-9);
    EXPECT_NEAR(parts.scaleX, 1, 1e-9);
    EXPECT_NEAR(parts.scaleY, 1.3, 1e-9);
    const Affine rebuilt = Affine::scaling(parts.scaleX, parts.scaleY)
                               .then(Affine::rotation(parts.rotationDegrees))
                               .then(Affine::translation(parts.translation.x, parts.translation.y));
    for (Point p : {Point{0, 0}, Point{3, -7}, Point{-2, 5}})
        expectNear(rebuilt.apply(p), a.apply(p));
}

TEST(Path, HullBoundsHoldTheTurnedShapeAndItsControlPoints) {
    Path p;
    p.moveTo({0, 0});
    p.lineTo({10, 0});
    p.cubicTo({12, 4}, {10, 8}, {5, 8});
    p.close();
    EXPECT_EQ(p.hullBounds({}), (Rect{0, 0, 12, 8}));
    const Rect turned = p.hullBounds(Affine::rotation(90));
    EXPECT_NEAR(turned.x, -8, 1e-9);
    EXPECT_NEAR(turned.width, 8, 1e-9);
    EXPECT_NEAR(turned.height, 12, 1e-9);
}

// Retargeting without a jump is checked through the widget (gauge_view_test), which also sees its wiring.
TEST(GaugeMotion, FillsFromEmptyAlongEaseOutCubic) {
    GaugeMotion m;
    m.appear(0.6, 10.0);
    EXPECT_DOUBLE_EQ(m.displayed(3.0), 0.0) << "a clock before the start counts as the start";
    EXPECT_DOUBLE_EQ(m.displayed(10.0), 0.0);
    EXPECT_NEAR(m.displayed(10.45), 0.6 * 0.875, 1e-12);
    EXPECT_DOUBLE_EQ(m.displayed(10.9), 0.6);
}

TEST(GaugeMotion, HoverAndLeanEaseWithSmoothstepAndLeavingEasesBack) {
    GaugeMotion m;
    const Size size{200, 100};
    m.pointerMoved(100, 50, size, 5.0); // the exact centre
    EXPECT_DOUBLE_EQ(m.hoverAmount(5.0), 0.0);
    EXPECT_NEAR(m.hoverAmount(5.175), 0.5, 1e-12);
    EXPECT_DOUBLE_EQ(m.hoverAmount(5.35), 1.0);
    EXPECT_EQ(m.leanAmount(5.35), (Size{0, 0}));

    m.pointerMoved(200, 0, size, 6.0); // right edge, top: lean (1, −1)
    EXPECT_EQ(m.leanAmount(6.35), (Size{1, -1}));
    m.pointerMoved(500, 250, size, 7.0); // beyond the edges the lean is clamped
    EXPECT_EQ(m.leanAmount(8.0), (Size{1, 1}));
    // A full lean to the bottom right turns and shifts the gauge.
    const GaugeFrame f = gaugeFrame(m, 0.5, UsageLevel::high, true, 8.0, {120, 170});
    EXPECT_DOUBLE_EQ(f.rotationDegrees, 6.0);
    EXPECT_DOUBLE_EQ(f.offset.x, 6.0);
    EXPECT_DOUBLE_EQ(f.offset.y, 8.5);
    EXPECT_DOUBLE_EQ(f.inputs.hover, 1.0);

    m.pointerLeft(8.1);
    EXPECT_EQ(m.leanAmount(8.1), (Size{1, 1})) << "from wherever it was";
    EXPECT_NEAR(m.leanAmount(8.275).height, 0.5, 1e-12);
    EXPECT_DOUBLE_EQ(m.hoverAmount(8.45), 0.0);
    EXPECT_EQ(m.leanAmount(8.45), (Size{0, 0}));

    GaugeMotion still; // a pointer over an empty view changes nothing
    still.pointerMoved(10, 10, {0, 100}, 1.0);
    still.pointerMoved(10, 10, {100, 0}, 1.0);
    EXPECT_DOUBLE_EQ(still.hoverAmount(2.0), 0.0);
    EXPECT_EQ(still.leanAmount(2.0), (Size{0, 0}));
}
