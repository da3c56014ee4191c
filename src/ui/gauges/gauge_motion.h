#pragma once
// The motion every gauge shares: the level sliding to a new value, the hover amount and the lean
// towards the pointer. Each is a closed-form function of a start point and the time, so a dropped
// frame costs nothing and tests need no clock. Times are seconds on one monotonic scale.

#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_theme.h"

#include <limits>

namespace ostrel {

inline constexpr double kLevelEaseSeconds = 0.9;
inline constexpr double kHoverEaseSeconds = 0.35;
// Every ease is complete until something starts it.
inline constexpr double kDistantPast = -std::numeric_limits<double>::infinity();

// Fraction of an ease of `duration` elapsed at `now`; a clock before the start counts as the start.
double easeProgress(double now, double start, double duration);
double easeOutCubic(double p);
double smoothstep(double p);

class GaugeMotion {
  public:
    // The view came on screen: fill from empty to `level`.
    void appear(double level, double now);
    // A new level: continue from what is on screen, so a change mid-animation does not jump.
    void retarget(double level, double now);
    // Pointer at (x, y) in a view of `size` (origin top-left): lean towards it and hover.
    void pointerMoved(double x, double y, Size size, double now);
    void pointerLeft(double now);

    double displayed(double now) const;
    double hoverAmount(double now) const;
    Size leanAmount(double now) const;
    double target() const { return target_; }

  private:
    double from_ = 0;
    double target_ = 0;
    double changedAt_ = kDistantPast;
    double hoverFrom_ = 0;
    double hoverTo_ = 0;
    double hoverAt_ = kDistantPast;
    Size leanFrom_{};
    Size leanTarget_{};
    double leanAt_ = kDistantPast;
};

// What one frame draws: the gauge inputs plus the turn and shift of the lean.
struct GaugeFrame {
    GaugeInputs inputs;
    double rotationDegrees = 0; // about the centre of the view, clockwise
    Point offset;               // applied after the rotation
};

// With motion off the picture is still: the exact level, no clock, no hover, no lean.
GaugeFrame gaugeFrame(const GaugeMotion& motion, double level, UsageLevel state, bool motionOn, double now,
                      Size size);

} // namespace ostrel
