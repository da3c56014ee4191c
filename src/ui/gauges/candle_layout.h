#pragma once
// Geometry of the candle gauge: a wax column as tall as the allowance left on a dish, a breathing
// halo, a drip, the wick, and either a flickering flame (lit) or three rising smoke puffs (out).

#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_theme.h"

#include <array>

namespace ostrel {

// The candle burns while anything worth showing is left.
bool candleLit(double level);

// A teardrop filling `r`: pointed at the top, round at the bottom.
Path flameShape(Rect r);

struct SmokePuff {
    Point centre;
    double diameter = 0;
    double opacity = 0; // of the primary text colour
};

struct CandleLayout {
    bool lit = false;
    double baseY = 0;
    double bodyHeight = 0;
    double topY = 0;
    double candleWidth = 0;
    double wickTop = 0;
    double flameHeight = 0;

    Point haloCentre;
    double haloRadius = 0; // already breathing-scaled
    Rect dish;
    Rect wax;
    double waxCorner = 0;
    Rect waxTop;
    bool drip = false;
    Rect dripRect; // a capsule
    Rect wick;     // a capsule

    // The flame box is described in its own coordinates, bottom centre at the origin, and placed by
    // `flamePlacement` (stretch and turn about the bottom centre, then move onto the wick).
    Rect flameBox;
    Rect flameCore;
    double flameStretch = 1;
    double flameTurn = 0; // degrees, clockwise
    Affine flamePlacement;
    double flameGlowBlur = 6;

    std::array<SmokePuff, 3> smoke{};
};

CandleLayout candleLayout(const GaugeInputs& in, Size size);

} // namespace ostrel
