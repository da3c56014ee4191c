#include "ui/gauges/plant_layout.h"

#include <cmath>

namespace ostrel {

Rgb leafColor(UsageLevel state) {
    switch (state) {
    case UsageLevel::low:
        return {0.66, 0.46, 0.24};
    case UsageLevel::medium:
    case UsageLevel::high:
        return {0.62, 0.70, 0.26};
    case UsageLevel::veryHigh:
        return {0.36, 0.74, 0.36};
    }
    return {};
}

Path bowlShape(Rect r) {
    Path p;
    p.reserve(5);
    p.moveTo({r.minX(), r.minY()});
    p.lineTo({r.maxX(), r.minY()});
    p.lineTo({r.maxX() - 0.12 * r.width, r.maxY()});
    p.lineTo({r.minX() + 0.12 * r.width, r.maxY()});
    p.close();
    return p;
}

Point stemPoint(const PlantLayout& plant, double s) {
    const double a = (1 - s) * (1 - s);
    const double b = 2 * s * (1 - s);
    const double c = s * s;
    return {a * plant.stemStart.x + b * plant.stemControl.x + c * plant.stemTip.x,
            a * plant.stemStart.y + b * plant.stemControl.y + c * plant.stemTip.y};
}

PlantLayout plantLayout(const GaugeInputs& in, Size size) {
    PlantLayout p;
    const double w = size.width;
    const double h = size.height;
    const double t = in.t;
    const double cx = w / 2;
    p.wilt = 1 - in.level;
    const double potTop = 0.7 * h;
    p.stemHeight = 0.5 * h * (0.65 + 0.35 * in.level);
    p.stemWidth = 0.035 * w;
    p.stemStart = {cx, potTop};
    p.stemTip = {cx + 0.22 * w * p.wilt, potTop - p.stemHeight + 0.08 * h * p.wilt};
    p.stemControl = {cx - 0.05 * w * p.wilt, potTop - 0.9 * p.stemHeight};
    p.sway = Affine::rotationAbout({0.5 * w, 0.7 * h}, 2.5 * std::sin(1.4 * t));

    const double flutter = 4 + 8 * in.hover;
    p.leafAngle = 30 - 75 * p.wilt;
    const Rect leaf = Rect::centredAt({0, 0}, 0.22 * w, 0.09 * w);
    constexpr std::array<double, 3> params{0.35, 0.6, 0.85};
    for (std::size_t k = 0; k < params.size(); ++k) {
        const Point at = stemPoint(p, params[k]);
        const double angle = p.leafAngle + flutter * std::sin(3 * t + static_cast<double>(k));
        // Each side leaf turns about its stem-side end, which sits on the attachment point.
        p.sideLeaves[2 * k] = {leaf, Affine::translation(-0.11 * w, 0)
                                         .then(Affine::rotation(angle))
                                         .then(Affine::translation(at.x, at.y))
                                         .then(p.sway)};
        p.sideLeaves[2 * k + 1] = {leaf, Affine::translation(0.11 * w, 0)
                                             .then(Affine::rotation(-angle))
                                             .then(Affine::translation(at.x, at.y))
                                             .then(p.sway)};
    }
    const double topAngle = -90 + 120 * p.wilt + 0.5 * flutter * std::sin(2.5 * t);
    p.topLeaf = {Rect::centredAt({0, 0}, 0.176 * w, 0.072 * w),
                 Affine::rotation(topAngle).then(Affine::translation(p.stemTip.x, p.stemTip.y)).then(p.sway)};

    p.pot = Rect::centredAt({cx, 0.835 * h}, 0.56 * w, 0.27 * h);
    p.rim = Rect::centredAt({cx, 0.71 * h}, 0.62 * w, 0.06 * h);
    p.soil = Rect::centredAt({cx, 0.69 * h}, 0.5 * w, 0.03 * h);
    return p;
}

} // namespace ostrel
