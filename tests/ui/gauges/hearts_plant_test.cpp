#include "ui/gauges/hearts_layout.h"
#include "ui/gauges/plant_layout.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace ostrel;

namespace {

std::array<int, kHeartCount> columns(double level) {
    const HeartsLayout layout = heartsLayout({level, UsageLevel::medium, 0, 0}, {220, 70});
    std::array<int, kHeartCount> out{};
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = heartFilledColumns(layout.hearts[i].fill);
    return out;
}

// sin(7 t) = 1: the first thump of the beat.
constexpr double kThump = 3.14159265358979323846 / 14;

double angleOf(Point from, Point to) {
    return std::atan2(to.y - from.y, to.x - from.x) * 180 / kPi;
}

} // namespace

TEST(HeartsLayout, HeartsDrainFromTheRightAColumnAtATime) {
    EXPECT_EQ(columns(1), (std::array<int, 5>{7, 7, 7, 7, 7}));
    EXPECT_EQ(columns(0.5), (std::array<int, 5>{7, 7, 4, 0, 0})); // 3.5 columns round up
    EXPECT_EQ(columns(0.08), (std::array<int, 5>{3, 0, 0, 0, 0}));
    EXPECT_EQ(columns(0), (std::array<int, 5>{0, 0, 0, 0, 0}));
}

TEST(HeartsLayout, PixelsAreInkedByColumn) {
    for (const HeartPixel& p : heartPixels(1, 4))
        EXPECT_NE(p.ink, HeartInk::empty);
    for (const HeartPixel& p : heartPixels(0.4, 4)) {
        const int column = static_cast<int>(p.square.x / 4);
        EXPECT_EQ(p.ink == HeartInk::empty, column >= 3) << column;
    }
    for (const HeartPixel& p : heartPixels(0, 4))
        EXPECT_EQ(p.ink, HeartInk::empty);
}

TEST(HeartsLayout, OnlyTheLastHeartOfALowBandBeats) {
    const HeartsLayout low = heartsLayout({0.08, UsageLevel::low, kThump, 0}, {220, 70});
    EXPECT_EQ(low.last, 0);
    EXPECT_GT(low.hearts[0].beat, 1.15);
    for (int i = 1; i < kHeartCount; ++i)
        EXPECT_DOUBLE_EQ(low.hearts[static_cast<std::size_t>(i)].beat, 1);

    EXPECT_DOUBLE_EQ(heartsLayout({0.08, UsageLevel::medium, kThump, 0}, {220, 70}).hearts[0].beat, 1);
    EXPECT_DOUBLE_EQ(heartsLayout({0, UsageLevel::low, kThump, 0}, {220, 70}).hearts[0].beat, 1);
    const HeartsLayout half = heartsLayout({0.5, UsageLevel::low, kThump, 0}, {220, 70});
    EXPECT_EQ(half.last, 2);
    EXPECT_GT(half.hearts[2].beat, 1.15);
    EXPECT_DOUBLE_EQ(half.hearts[1].beat, 1);
    EXPECT_DOUBLE_EQ(heartsLayout({0.08, UsageLevel::low, 0, 0}, {220, 70}).hearts[0].beat, 1);
}

TEST(HeartsLayout, RowIsCentredAndAHopRunsAlongIt) {
    const HeartsLayout still = heartsLayout({1, UsageLevel::veryHigh, 0, 0}, {220, 70});
    const double px = 5.5; // min(70 / 8, 220 / 40)
    EXPECT_DOUBLE_EQ(still.px, px);
    EXPECT_EQ(still.hearts[0].transform.apply({0, 0}), (Point{(220 - 39 * px) / 2, (70 - 6 * px) / 2}));
    EXPECT_EQ(still.hearts[4].transform.apply({0, 0}).x, (220 - 39 * px) / 2 + 32 * px);
    for (const HeartPlacement& h : still.hearts)
        EXPECT_DOUBLE_EQ(h.hop, 0);

    const HeartsLayout hop = heartsLayout({1, UsageLevel::veryHigh, 4.175, 0}, {220, 70});
    EXPECT_NEAR(hop.hearts[0].hop, 1.5 * px, 1e-9);
    EXPECT_GT(hop.hearts[1].hop, 0);
    EXPECT_LT(hop.hearts[1].hop, hop.hearts[0].hop);
    EXPECT_DOUBLE_EQ(hop.hearts[2].hop, 0);
    EXPECT_LT(hop.hearts[0].transform.apply({0, 0}).y, still.hearts[0].transform.apply({0, 0}).y);
}

TEST(PlantLayout, StandsUpWhenFullAndWiltsWhenEmpty) {
    const Size size{130, 170};
    const PlantLayout full = plantLayout({1, UsageLevel::veryHigh, 0, 0}, size);
    EXPECT_EQ(full.stemTip, (Point{65, 0.7 * 170 - 0.5 * 170}));
    // The first pair's leaves (no flutter at t = 0) are raised 30°.
    const PlantLeaf& left = full.sideLeaves[0];
    const PlantLeaf& right = full.sideLeaves[1];
    const Point attach = stemPoint(full, 0.35);
    const double half = 0.11 * 130;
    EXPECT_NEAR(left.transform.apply({half, 0}).x, attach.x, 1e-9); // turned about its stem-side end
    EXPECT_NEAR(angleOf(attach, left.transform.apply({-half, 0})), -150, 1e-9);
    EXPECT_NEAR(angleOf(attach, right.transform.apply({half, 0})), -30, 1e-9);
    const Point top = full.topLeaf.transform.apply({0.088 * 130, 0});
    EXPECT_NEAR(top.x, full.stemTip.x, 1e-9);
    EXPECT_LT(top.y, full.stemTip.y);

    const PlantLayout empty = plantLayout({0, UsageLevel::low, 0, 0}, size);
    EXPECT_NEAR(empty.stemTip.x, 65 + 0.22 * 130, 1e-9);
    EXPECT_NEAR(empty.stemTip.y, 0.7 * 170 - 0.325 * 170 + 0.08 * 170, 1e-9);
    const Point droop = stemPoint(empty, 0.35);
    EXPECT_NEAR(angleOf(droop, empty.sideLeaves[0].transform.apply({-half, 0})), 180 - 45, 1e-9);
    EXPECT_NEAR(angleOf(droop, empty.sideLeaves[1].transform.apply({half, 0})), 45, 1e-9);
    EXPECT_NEAR(angleOf(empty.stemTip, empty.topLeaf.transform.apply({1, 0})), 30, 1e-9);
}

TEST(PlantLayout, PlantSwaysAboutThePotRim) {
    const Size size{130, 170};
    const double t = 3.14159265358979323846 / 2 / 1.4; // sin(1.4 t) = 1
    const PlantLayout p = plantLayout({1, UsageLevel::veryHigh, t, 0}, size);
    EXPECT_EQ(p.sway.apply({65, 119}), (Point{65, 119}));
    const Point tip = p.sway.apply(p.stemTip);
    EXPECT_NEAR(angleOf({65, 119}, tip), -90 + 2.5, 1e-9);
}
