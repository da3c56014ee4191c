#include "ui/gauges/gauge_geometry.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

Rect unite(Rect a, Rect b) {
    const double x0 = std::min(a.minX(), b.minX());
    const double y0 = std::min(a.minY(), b.minY());
    return {x0, y0, std::max(a.maxX(), b.maxX()) - x0, std::max(a.maxY(), b.maxY()) - y0};
}

std::vector<Point> Path::endPoints() const {
    std::vector<Point> out;
    out.reserve(elements_.size());
    for (const PathElement& e : elements_) {
        switch (e.kind) {
        case PathElement::Kind::move:
        case PathElement::Kind::line:
            out.push_back(e.points[0]);
            break;
        case PathElement::Kind::quad:
            out.push_back(e.points[1]);
            break;
        case PathElement::Kind::cubic:
            out.push_back(e.points[2]);
            break;
        case PathElement::Kind::close:
            break;
        }
    }
    return out;
}

Rect Path::hullBounds(const Affine& a) const {
    Rect out;
    bool first = true;
    for (const PathElement& e : elements_) {
        const int used = e.kind == PathElement::Kind::close   ? 0
                         : e.kind == PathElement::Kind::quad  ? 2
                         : e.kind == PathElement::Kind::cubic ? 3
                                                              : 1;
        for (int i = 0; i < used; ++i) {
            const Point p = a.apply(e.points[static_cast<std::size_t>(i)]);
            out = first ? Rect{p.x, p.y, 0, 0} : unite(out, {p.x, p.y, 0, 0});
            first = false;
        }
    }
    return out;
}

Affine Affine::rotation(double degrees) {
    const double c = std::cos(radians(degrees));
    const double s = std::sin(radians(degrees));
    return {c, s, -s, c, 0, 0};
}

Affine Affine::rotationAbout(Point pivot, double degrees) {
    return translation(-pivot.x, -pivot.y).then(rotation(degrees)).then(translation(pivot.x, pivot.y));
}

Affine Affine::scalingAbout(Point pivot, double sx, double sy) {
    return translation(-pivot.x, -pivot.y).then(scaling(sx, sy)).then(translation(pivot.x, pivot.y));
}

Affine Affine::then(const Affine& n) const {
    // n ∘ this: first this, then n.
    return {n.xx * xx + n.xy * yx, n.yx * xx + n.yy * yx,        n.xx * xy + n.xy * yy,
            n.yx * xy + n.yy * yy, n.xx * x0 + n.xy * y0 + n.x0, n.yx * x0 + n.yy * y0 + n.y0};
}

AffineParts decompose(const Affine& a) {
    // The first column is the x axis after turn and scale; the determinant carries y's scale and flip.
    AffineParts parts;
    parts.translation = {a.x0, a.y0};
    parts.scaleX = std::hypot(a.xx, a.yx);
    parts.rotationDegrees = std::atan2(a.yx, a.xx) * 180 / kPi;
    parts.scaleY = parts.scaleX > 0 ? (a.xx * a.yy - a.xy * a.yx) / parts.scaleX : 0;
    return parts;
}

} // namespace ostrel
