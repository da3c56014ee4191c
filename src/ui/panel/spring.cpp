#include "ui/panel/spring.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ostrel {

SpringSample springAt(const SpringParams& params, double from, double velocity, double target,
                      double elapsed) {
    const double t = std::max(0.0, elapsed);
    const double omega = 2 * std::numbers::pi / std::max(params.response, 1e-6);
    const double zeta = std::max(params.dampingFraction, 0.0);
    const double x0 = from - target;
    const double v0 = velocity;
    double x = 0;
    double v = 0;
    if (zeta < 1) {
        // Under-damped: a decaying oscillation.
        const double a = zeta * omega;
        const double w = omega * std::sqrt(1 - zeta * zeta);
        const double A = x0;
        const double B = (v0 + a * x0) / w;
        const double decay = std::exp(-a * t);
        const double c = std::cos(w * t);
        const double s = std::sin(w * t);
        x = decay * (A * c + B * s);
        v = decay * ((w * B - a * A) * c - (a * B + w * A) * s);
    } else if (zeta == 1) {
        const double decay = std::exp(-omega * t);
        const double b = v0 + omega * x0;
        x = decay * (x0 + b * t);
        v = decay * (v0 - omega * t * b);
    } else {
        // Over-damped: two decaying exponentials.
        const double root = std::sqrt(zeta * zeta - 1);
        const double r1 = -omega * (zeta - root);
        const double r2 = -omega * (zeta + root);
        const double c2 = (v0 - r1 * x0) / (r2 - r1);
        const double c1 = x0 - c2;
        x = c1 * std::exp(r1 * t) + c2 * std::exp(r2 * t);
        v = c1 * r1 * std::exp(r1 * t) + c2 * r2 * std::exp(r2 * t);
    }
    return {target + x, v};
}

void Spring::jumpTo(double value) {
    from_ = target_ = value;
    velocity_ = 0;
}

void Spring::retarget(double target, double now) {
    const SpringSample current = sample(now);
    from_ = current.value;
    velocity_ = current.velocity;
    target_ = target;
    start_ = now;
}

SpringSample Spring::sample(double now) const {
    return springAt(params_, from_, velocity_, target_, now - start_);
}

bool Spring::settled(double now, double tolerance) const {
    const SpringSample s = sample(now);
    // A speed under ten tolerances a second moves less than a tolerance in the next frames.
    return std::abs(s.value - target_) < tolerance && std::abs(s.velocity) < tolerance * 10;
}

} // namespace ostrel
