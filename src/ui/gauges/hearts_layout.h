#pragma once
// Geometry of the heart row: five pixel-art hearts that drain from the right a column at a time, the
// last one thumping when the band is low, a hop running along the row every four seconds and a
// wiggle under the pointer.

#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_theme.h"

#include <array>

namespace ostrel {

inline constexpr int kHeartCount = 5;
inline constexpr int kHeartRows = 6;
inline constexpr int kHeartColumns = 7;

// The heart bitmap, rows top to bottom.
bool heartPixel(int row, int column);

enum class HeartInk { empty, shine, light, deep };

struct HeartPixel {
    Rect square; // in the heart's own coordinates (origin at its top-left corner)
    HeartInk ink = HeartInk::empty;
};

// At most 42 set pixels.
struct HeartPixels {
    std::array<HeartPixel, kHeartRows * kHeartColumns> pixels{};
    int count = 0;
    const HeartPixel* begin() const { return pixels.data(); }
    const HeartPixel* end() const { return pixels.data() + count; }
};

// Columns holding colour for a heart `fill` full (halves round up).
int heartFilledColumns(double fill);
HeartPixels heartPixels(double fill, double px);

struct HeartPlacement {
    double fill = 0;
    double beat = 1;   // scale about the heart's centre
    double wiggle = 0; // degrees about the centre
    double hop = 0;    // points upwards
    Affine transform;  // heart coordinates → gauge coordinates
};

struct HeartsLayout {
    double px = 0;
    int last = 0; // rightmost heart holding anything
    std::array<HeartPlacement, kHeartCount> hearts{};
};

HeartsLayout heartsLayout(const GaugeInputs& in, Size size);

} // namespace ostrel
