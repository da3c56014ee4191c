#include "ui/gauges/candle_layout.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

bool candleLit(double level) {
    return level > 0.005;
}

Path flameShape(Rect r) {
    const double w = r.width;
    const double h = r.height;
    Path p;
    p.reserve(4);
    p.moveTo({r.midX(), r.minY()});
    p.cubicTo({r.maxX() + 0.15 * w, r.midY() + 0.1 * h}, {r.maxX(), r.maxY()}, {r.midX(), r.maxY()});
    p.cubicTo({r.minX(), r.maxY()}, {r.minX() - 0.15 * w, r.midY() + 0.1 * h}, {r.midX(), r.minY()});
    p.close();
    return p;
}

CandleLayout candleLayout(const GaugeInputs& in, Size size) {
    CandleLayout c;
    const double w = size.width;
    const double h = size.height;
    const double t = in.t;
    const double cx = w / 2;
    const bool low = in.state == UsageLevel::low;
    c.lit = candleLit(in.level);
    c.baseY = 0.94 * h;
    // The wax column never vanishes completely.
    c.bodyHeight = std::max(0.62 * h * in.level, 0.04 * h);
    c.topY = c.baseY - c.bodyHeight;
    c.candleWidth = 0.42 * w;
    const double cw = c.candleWidth;
    const double boost = low ? 2.2 : 1.0;
    c.flameHeight = 0.2 * h * (low ? 0.75 : 1.0);
    c.wickTop = c.topY - 0.035 * h;

    c.haloCentre = {cx, c.wickTop - 0.4 * c.flameHeight};
    c.haloRadius = w / 2 * (0.9 + 0.05 * (std::sin(3 * t) + 1));
    c.dish = Rect::centredAt({cx, c.baseY + 0.005 * h}, 0.78 * w, 0.07 * h);
    c.wax = Rect::centredAt({cx, c.baseY - c.bodyHeight / 2}, cw, c.bodyHeight);
    c.waxCorner = 0.08 * cw;
    c.waxTop = Rect::centredAt({cx, c.topY}, cw, 0.22 * cw);
    c.drip = c.lit && c.bodyHeight > 0.12 * h;
    const double d = 0.02 * h + 0.125 * c.bodyHeight * (std::sin(0.6 * t) + 1);
    c.dripRect = Rect::centredAt({cx + 0.32 * cw, c.topY + d / 2}, 0.11 * cw, d);
    // The wick runs from wickTop to just inside the wax top.
    c.wick = Rect::centredAt({cx, c.topY - 0.015 * h}, 2, 0.04 * h);

    const double fh = c.flameHeight;
    c.flameBox = {-0.24 * fh, -fh, 0.48 * fh, fh};
    c.flameCore = {-0.12 * fh, -0.5 * fh, 0.24 * fh, 0.5 * fh};
    c.flameStretch = 1 + boost * (0.07 * std::sin(9 * t) + 0.05 * std::sin(13.7 * t));
    c.flameTurn = 14 * in.hover + boost * (3 * std::sin(2.1 * t) + 1.5 * std::sin(5.3 * t));
    const Point boxCentre{cx, c.wickTop - fh / 2 + 0.01 * h};
    c.flamePlacement = Affine::scaling(1, c.flameStretch)
                           .then(Affine::rotation(c.flameTurn))
                           .then(Affine::translation(boxCentre.x, boxCentre.y + fh / 2));

    for (std::size_t i = 0; i < c.smoke.size(); ++i) {
        const double raw = 0.5 * t + static_cast<double>(i) / 3;
        const double p = raw - std::floor(raw);
        c.smoke[i] = {{cx + 0.06 * w * p * std::sin(2 * t + static_cast<double>(i)), c.wickTop - 0.3 * h * p},
                      (0.05 + 0.08 * p) * w,
                      0.25 * (1 - p)};
    }
    return c;
}

} // namespace ostrel
