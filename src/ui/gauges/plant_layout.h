#pragma once
// Geometry of the potted plant: a stem that stands upright when much is left and bends over and
// sags as the allowance runs out, three pairs of side leaves that droop with it, a top leaf, and the
// pot. The whole plant sways gently about the pot rim.

#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_theme.h"

#include <array>

namespace ostrel {

// Stem and leaves: brown when low, yellow-green in the middle bands, green when much is left.
Rgb leafColor(UsageLevel state);

// A flower pot in `r`, wider at the top.
Path bowlShape(Rect r);

struct PlantLeaf {
    Rect ellipse;     // in the leaf's own coordinates, centred on the origin
    Affine transform; // leaf coordinates → gauge coordinates (sway included)
};

struct PlantLayout {
    double wilt = 0;
    double stemHeight = 0;
    double stemWidth = 0;
    Point stemStart;                       // P0, on the pot rim
    Point stemControl;                     // C
    Point stemTip;                         // P1
    double leafAngle = 0;                  // side leaves' base angle (flutter excluded), degrees
    Affine sway;                           // turn of the whole plant about the pot rim
    std::array<PlantLeaf, 6> sideLeaves{}; // pairs k = 0, 1, 2: left then right
    PlantLeaf topLeaf;
    Rect pot;
    Rect rim;
    double rimCorner = 3;
    Rect soil;
};

// The point at parameter s of the stem's quadratic curve.
Point stemPoint(const PlantLayout& plant, double s);
PlantLayout plantLayout(const GaugeInputs& in, Size size);

} // namespace ostrel
