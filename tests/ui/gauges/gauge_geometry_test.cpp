#include "ui/gauges/gauge_geometry.h"

#include <gtest/gtest.h>

using namespace ostrel;

namespace {

void expectNear(Point a, Point b) {
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
}

} // namespace

TEST(Affine, ComposesInOrderAndTurnsClockwiseOnScreen) {
    // 90° clockwise with y down takes +x to +y.
    expectNear(Affine::rotation(90).apply({1, 0}), {0, 1});
    const Affine a = Affine::scaling(2, 1).then(Affine::translation(10, 0));
    expectNear(a.apply({1, 1}), {12, 1});
    const Affine b = Affine::translation(10, 0).then(Affine::scaling(2, 1));
    expectNear(b.apply({1, 1}), {22, 1});
    const Affine about = Affine::rotationAbout({5, 5}, 180);
    expectNear(about.apply({5, 5}), {5, 5});
    expectNear(about.apply({6, 5}), {4, 5});
}

TEST(Affine, DecomposesIntoMoveTurnAndScale) {
    const Affine a = Affine::scaling(1, 1.3).then(Affine::rotation(-25)).then(Affine::translation(40, 90));
    const AffineParts parts = decompose(a);
    EXPECT_NEAR(parts.rotationDegrees, -25, 1e-9);
    EXPECT_NEAR(parts.scaleX, 1, 1e-9);
    EXPECT_NEAR(parts.scaleY, 1.3, 1e-9);
    const Affine rebuilt = Affine::scaling(parts.scaleX, parts.scaleY)
                               .then(Affine::rotation(parts.rotationDegrees))
                               .then(Affine::translation(parts.translation.x, parts.translation.y));
    for (Point p : {Point{0, 0}, Point{3, -7}, Point{-2, 5}})
        expectNear(rebuilt.apply(p), a.apply(p));
}

TEST(Path, HullBoundsHoldTheTurnedShapeAndItsControlPoints) {
    Path p;
    p.moveTo({0, 0});
    p.lineTo({10, 0});
    p.cubicTo({12, 4}, {10, 8}, {5, 8});
    p.close();
    const Rect plain = p.hullBounds({});
    EXPECT_EQ(plain, (Rect{0, 0, 12, 8}));
    const Rect turned = p.hullBounds(Affine::rotation(90));
    EXPECT_NEAR(turned.x, -8, 1e-9);
    EXPECT_NEAR(turned.width, 8, 1e-9);
    EXPECT_NEAR(turned.height, 12, 1e-9);
}
