#include "ui/gauges/liquid_layout.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

double surfaceTaper(double level) {
    return std::clamp(level / 0.05, 0.0, 1.0) * std::clamp((1 - level) / 0.05, 0.0, 1.0);
}

Path glassShape(Rect r) {
    const double i = 0.12 * r.width;
    const double radius = 0.12 * r.width;
    Path p;
    p.reserve(6);
    p.moveTo({r.minX(), r.minY()});
    p.lineTo({r.maxX(), r.minY()});
    p.lineTo({r.maxX() - i, r.maxY() - radius});
    p.quadTo({r.maxX() - i, r.maxY()}, {r.maxX() - i - radius, r.maxY()});
    p.lineTo({r.minX() + i + radius, r.maxY()});
    p.quadTo({r.minX() + i, r.maxY()}, {r.minX() + i, r.maxY() - radius});
    p.close();
    return p;
}

double waveBaseY(Rect r, double level) {
    return r.minY() + (1 - level) * r.height;
}

namespace {

// Samples every 2 points from the left edge while x ≤ maxX.
void appendWaveEdge(Path& p, Rect r, double level, double phase, double amplitude, bool startWithMove) {
    const double baseY = waveBaseY(r, level);
    bool first = startWithMove;
    for (int k = 0;; ++k) {
        const double x = r.minX() + 2.0 * k;
        if (x > r.maxX()) break;
        const Point pt{x, baseY + amplitude * std::sin((x - r.minX()) / r.width * kPi * 3 + phase)};
        if (first) {
            p.moveTo(pt);
            first = false;
        } else {
            p.lineTo(pt);
        }
    }
}

std::size_t waveSamples(Rect r) {
    return r.width >= 0 ? static_cast<std::size_t>(r.width / 2) + 1 : 0;
}

} // namespace

Path waveShape(Rect r, double level, double phase, double amplitude) {
    Path p;
    p.reserve(waveSamples(r) + 5);
    p.moveTo({r.minX(), r.maxY()});
    appendWaveEdge(p, r, level, phase, amplitude, false);
    p.lineTo({r.maxX(), waveBaseY(r, level)});
    p.lineTo({r.maxX(), r.maxY()});
    p.close();
    return p;
}

Path waveLine(Rect r, double level, double phase, double amplitude) {
    Path p;
    p.reserve(waveSamples(r));
    appendWaveEdge(p, r, level, phase, amplitude, true);
    return p;
}

LineSegment wallStreak(Rect r, bool left) {
    const double i = 0.12 * r.width;
    const double o = 0.09 * r.width;
    const double m = 0.6 * o;
    if (left)
        return {{r.minX() + o, r.minY() + 0.06 * r.height}, {r.minX() + i + m, r.minY() + 0.62 * r.height}};
    return {{r.maxX() - o, r.minY() + 0.10 * r.height}, {r.maxX() - i - m, r.minY() + 0.62 * r.height}};
}

BubbleList bubbles(Size canvas, double time, double level, double extra) {
    BubbleList list;
    const double w = canvas.width;
    const double h = canvas.height;
    const double liquid = h * level;
    const double surfaceY = h - liquid;
    if (liquid <= 4) return list;
    const int n = extra > 0.01 ? 20 : 10;
    for (int k = 0; k < n; ++k) {
        const double speed = (k >= 10 ? 0.22 : 0.10) + std::fmod(0.13 * k, 0.08);
        const double raw = 0.618 * k + time * speed;
        const double c = raw - std::floor(raw);
        const double y = h * (1 - c);
        if (y <= surfaceY + 2) continue;
        const double fade = std::min(1.0, 5 * (y - surfaceY) / std::max(liquid, 1.0));
        const double rise = std::min(1.0, 8 * c);
        const double weight = k >= 10 ? extra : 1.0;
        const double spread = 0.37 * k - std::floor(0.37 * k);
        const double x = w * (0.22 + 0.56 * spread) + 2 * std::sin(2 * time + k);
        list.dots[static_cast<std::size_t>(list.count++)] = {
            {x, y}, std::fmod(static_cast<double>(k), 3.0) + 1.5, 0.35 * weight * fade * rise};
    }
    return list;
}

GlassLayout glassLayout(const GaugeInputs& in, Size size) {
    GlassLayout g;
    g.frame = {0, 0, size.width, size.height};
    g.phase = 1.6 * in.t;
    g.amplitude = (0.018 + 0.01 * in.hover) * size.height * surfaceTaper(in.level);
    g.surfaceLine = in.level > 0.01;
    g.floorBand = {0, size.height * 0.93, size.width, size.height * 0.07};
    g.leftStreakWidth = std::max(0.035 * size.width, 2.0);
    g.rightStreakWidth = std::max(0.015 * size.width, 1.0);
    g.streakBlur = 0.008 * size.width;
    return g;
}

BubbleLayout bubbleLayout(const GaugeInputs& in, Size size) {
    BubbleLayout b;
    const double s = 0.88 * std::min(size.width, size.height);
    const Point c{size.width / 2, size.height / 2};
    b.diameter = s;
    b.bubble = Rect::centredAt(c, s, s);
    b.phase = 1.4 * in.t;
    b.amplitude = 0.02 * s * surfaceTaper(in.level);
    b.glowDiameter = 1.3 * s;
    b.glowOpacity = 0.12 + 0.3 * in.level;
    b.glowInnerRadius = 0.3 * s;
    b.glowOuterRadius = 0.62 * s;
    b.shadeInnerRadius = 0.25 * s;
    b.shadeOuterRadius = 0.5 * s;
    b.highlight = Rect::centredAt({c.x - 0.1 * s, c.y - 0.27 * s}, 0.5 * s, 0.28 * s);
    b.highlightOpacity = 0.45 + 0.1 * std::sin(1.7 * in.t);
    b.bob = std::sin(1.3 * in.t) * s * (0.02 + 0.025 * in.hover);
    return b;
}

} // namespace ostrel
