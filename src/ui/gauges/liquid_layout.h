#pragma once
// Geometry of the two liquid gauges, the glass and the soap bubble: the glass outline, the wavy
// liquid body and its surface line, the wall highlights and the rising bubbles, plus the numbers
// each gauge derives from its inputs and size.

#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_theme.h"

#include <array>

namespace ostrel {

// 1 in the middle, easing to 0 within 5 % of empty or full, so the surface flattens there.
double surfaceTaper(double level);

// A tumbler filling `r`: full-width rim at the top, bottom 0.12 W narrower each side, rounded.
Path glassShape(Rect r);
// The y of the undisturbed surface for `level` in `r`.
double waveBaseY(Rect r, double level);
// Closed liquid body with the wavy top edge; three half-waves span the width.
Path waveShape(Rect r, double level, double phase, double amplitude);
// The same wavy edge, open.
Path waveLine(Rect r, double level, double phase, double amplitude);
// The straight highlight on the left or right inner wall of the glass in `r`.
LineSegment wallStreak(Rect r, bool left);

struct BubbleDot {
    Point centre;
    double radius = 0;
    double opacity = 0; // of white
};

// Up to twenty rising bubbles in a canvas of `canvas`; the ten extra ones show only with `extra`.
struct BubbleList {
    std::array<BubbleDot, 20> dots{};
    int count = 0;
    const BubbleDot* begin() const { return dots.data(); }
    const BubbleDot* end() const { return dots.data() + count; }
};
BubbleList bubbles(Size canvas, double time, double level, double extra);

struct GlassLayout {
    Rect frame;
    double phase = 0;
    double amplitude = 0;
    bool surfaceLine = false;
    Rect floorBand; // the bottom strip in which the glass floor is tinted
    double leftStreakWidth = 0;
    double rightStreakWidth = 0;
    double streakBlur = 0;
};
GlassLayout glassLayout(const GaugeInputs& in, Size size);

struct BubbleLayout {
    double diameter = 0; // s
    Rect bubble;         // s × s, centred
    double phase = 0;
    double amplitude = 0;
    double glowDiameter = 0;
    double glowOpacity = 0;
    double glowInnerRadius = 0;
    double glowOuterRadius = 0;
    double shadeInnerRadius = 0;
    double shadeOuterRadius = 0;
    Rect highlight;
    double highlightOpacity = 0;
    double bob = 0; // vertical shift of the whole picture
};
BubbleLayout bubbleLayout(const GaugeInputs& in, Size size);

} // namespace ostrel
