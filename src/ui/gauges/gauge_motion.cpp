#include "ui/gauges/gauge_motion.h"

#include <algorithm>

namespace ostrel {

double easeProgress(double now, double start, double duration) {
    const double p = (now - start) / duration;
    // NaN cannot arise: start is finite or −∞ and now is finite.
    return std::clamp(p, 0.0, 1.0);
}

double easeOutCubic(double p) {
    const double q = 1 - p;
    return 1 - q * q * q;
}

double smoothstep(double p) {
    return p * p * (3 - 2 * p);
}

void GaugeMotion::appear(double level, double now) {
    from_ = 0;
    target_ = level;
    changedAt_ = now;
}

void GaugeMotion::retarget(double level, double now) {
    from_ = displayed(now);
    target_ = level;
    changedAt_ = now;
}

void GaugeMotion::pointerMoved(double x, double y, Size size, double now) {
    if (size.width <= 0 || size.height <= 0) return;
    const double nx = 2 * x / size.width - 1;
    const double ny = 2 * y / size.height - 1;
    leanFrom_ = leanAmount(now);
    leanTarget_ = {std::clamp(nx, -1.0, 1.0), std::clamp(ny, -1.0, 1.0)};
    leanAt_ = now;
    hoverFrom_ = hoverAmount(now);
    hoverTo_ = 1;
    hoverAt_ = now;
}

void GaugeMotion::pointerLeft(double now) {
    leanFrom_ = leanAmount(now);
    leanTarget_ = {0, 0};
    leanAt_ = now;
    hoverFrom_ = hoverAmount(now);
    hoverTo_ = 0;
    hoverAt_ = now;
}

double GaugeMotion::displayed(double now) const {
    const double eased = easeOutCubic(easeProgress(now, changedAt_, kLevelEaseSeconds));
    return from_ + eased * (target_ - from_);
}

double GaugeMotion::hoverAmount(double now) const {
    const double s = smoothstep(easeProgress(now, hoverAt_, kHoverEaseSeconds));
    return hoverFrom_ + s * (hoverTo_ - hoverFrom_);
}

Size GaugeMotion::leanAmount(double now) const {
    const double s = smoothstep(easeProgress(now, leanAt_, kHoverEaseSeconds));
    return {leanFrom_.width + s * (leanTarget_.width - leanFrom_.width),
            leanFrom_.height + s * (leanTarget_.height - leanFrom_.height)};
}

GaugeFrame gaugeFrame(const GaugeMotion& motion, double level, UsageLevel state, bool motionOn, double now,
                      Size size) {
    GaugeFrame frame;
    frame.inputs.state = state;
    if (!motionOn) {
        frame.inputs.level = level;
        return frame;
    }
    frame.inputs.level = motion.displayed(now);
    frame.inputs.t = now;
    frame.inputs.hover = motion.hoverAmount(now);
    const Size lean = motion.leanAmount(now);
    frame.rotationDegrees = lean.width * 6;
    frame.offset = {lean.width * size.width * 0.05, lean.height * size.height * 0.05};
    return frame;
}

} // namespace ostrel
