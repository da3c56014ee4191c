#include "ui/gauges/meter_layout.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

double meterEndAngle(double level) {
    return kMeterStartAngle + kMeterSweep * level;
}

double meterTremble(double t, double hover) {
    return std::sin(2.3 * t) * (0.9 + 1.7 * hover) + std::sin(5.7 * t) * (0.3 + 0.7 * hover);
}

MeterLayout meterLayout(const GaugeInputs& in, Size size) {
    MeterLayout m;
    const double d = std::min(size.width, size.height / 0.8);
    m.diameter = d;
    // The lowest fifth of the circle is empty, so only 0.8 D is laid out, centred and top-aligned.
    m.dial = {(size.width - d) / 2, (size.height - 0.8 * d) / 2, d, d};
    const Point c = m.dial.centre();
    m.ring = 0.07 * d;
    m.radius = d / 2 - m.ring / 2;
    m.endAngle = meterEndAngle(in.level);
    m.needleAngle = m.endAngle + meterTremble(in.t, in.hover);
    m.pulse = (std::sin(2 * in.t) + 1) / 2;

    m.tipGlow = in.level > 0.01;
    const double a = radians(m.endAngle);
    m.tipCentre = {c.x + std::cos(a) * m.radius, c.y + std::sin(a) * m.radius};
    m.tipDiameter = 1.6 * m.ring;
    m.tipBlur = 0.45 * m.ring;
    m.tipOpacity = 0.35 + 0.45 * m.pulse;

    const double r = d / 2 - 1.5 * m.ring;
    for (std::size_t i = 0; i < m.ticks.size(); ++i) {
        const bool major = i % 2 == 0;
        const double len = major ? 0.07 * d : 0.035 * d;
        const double ta = radians(kMeterStartAngle + kMeterSweep * static_cast<double>(i) / 20);
        const Point dir{std::cos(ta), std::sin(ta)};
        m.ticks[i] = {
            {{c.x + r * dir.x, c.y + r * dir.y}, {c.x + (r - len) * dir.x, c.y + (r - len) * dir.y}},
            major ? 0.55 : 0.28,
            major ? 1.5 : 1.0};
    }

    const double dx = 0.866025 * 0.36 * d;
    const double dy = 0.1 * d + 0.5 * 0.36 * d;
    m.zeroLabel = {c.x - dx, c.y + dy};
    m.hundredLabel = {c.x + dx, c.y + dy};
    m.labelSize = 0.065 * d;
    m.hubDiameter = 0.07 * d;
    return m;
}

Path needleShape(Rect dial) {
    const double w = dial.width;
    const double k = 0.022 * w;
    const Point c = dial.centre();
    Path p;
    p.reserve(5);
    p.moveTo({c.x - 0.05 * w, c.y});
    p.lineTo({c.x, c.y - k});
    p.lineTo({c.x + 0.34 * w, c.y});
    p.lineTo({c.x, c.y + k});
    p.close();
    return p;
}

} // namespace ostrel
