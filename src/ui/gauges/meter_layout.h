#pragma once
// Geometry of the dial gauge: a 240° scale from lower left over the top to lower right, the value
// arc, the tick scale, the needle and its tremble, the pulsing tip glow and the two end labels.
// Angles are degrees clockwise from +x (screen y down): 150° lower left, 270° up, 390° lower right.

#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_theme.h"

#include <array>

namespace ostrel {

inline constexpr double kMeterStartAngle = 150;
inline constexpr double kMeterSweep = 240;

struct MeterTick {
    LineSegment line;
    double opacity = 0; // of the primary text colour
    double width = 0;
};

struct MeterLayout {
    Rect dial; // the D × D square the dial is drawn in
    double diameter = 0;
    double ring = 0;   // width of the arcs
    double radius = 0; // centre line of the arcs
    double endAngle = 0;
    double needleAngle = 0; // endAngle plus the tremble
    double pulse = 0;
    bool tipGlow = false;
    Point tipCentre;
    double tipDiameter = 0;
    double tipBlur = 0;
    double tipOpacity = 0;
    std::array<MeterTick, 21> ticks{};
    Point zeroLabel;    // centre of the "0" text
    Point hundredLabel; // centre of the "100" text
    double labelSize = 0;
    double hubDiameter = 0;
};

double meterEndAngle(double level);
// Degrees the needle trembles by at time t; up to about ±1.2°, ±3.6° under the pointer.
double meterTremble(double t, double hover);
MeterLayout meterLayout(const GaugeInputs& in, Size size);
// The slim needle pointing along +x from the dial's centre, before it is turned.
Path needleShape(Rect dial);

} // namespace ostrel
