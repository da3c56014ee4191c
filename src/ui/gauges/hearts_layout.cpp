#include "ui/gauges/hearts_layout.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

namespace {

constexpr std::array<const char*, kHeartRows> kBitmap{
    ".##.##.", //
    "#######", //
    "#######", //
    ".#####.", //
    "..###..", //
    "...#...",
};

// A sharp double thump about once a second.
double beatScale(double t) {
    const double b1 = std::max(std::sin(7 * t), 0.0);
    const double b2 = std::max(std::sin(7 * t - 0.9), 0.0);
    return 1 + 0.18 * (std::pow(b1, 12) + 0.6 * std::pow(b2, 12));
}

// Every four seconds a hop runs along the row, each heart 0.12 s after its left neighbour.
double hopHeight(double t, int i, double px) {
    const double x = std::fmod(t, 4.0) - 0.12 * i;
    if (x > 0 && x < 0.35) return 1.5 * px * std::sin(kPi * x / 0.35);
    return 0;
}

} // namespace

bool heartPixel(int row, int column) {
    return kBitmap[static_cast<std::size_t>(row)][column] == '#';
}

int heartFilledColumns(double fill) {
    return static_cast<int>(std::round(fill * kHeartColumns));
}

HeartPixels heartPixels(double fill, double px) {
    HeartPixels out;
    const int n = heartFilledColumns(fill);
    for (int r = 0; r < kHeartRows; ++r) {
        for (int c = 0; c < kHeartColumns; ++c) {
            if (!heartPixel(r, c)) continue;
            HeartInk ink = HeartInk::deep;
            if (c >= n)
                ink = HeartInk::empty;
            else if (r == 1 && c == 1)
                ink = HeartInk::shine;
            else if (r <= 2)
                ink = HeartInk::light;
            out.pixels[static_cast<std::size_t>(out.count++)] = {
                {c * px + 0.3, r * px + 0.3, px - 0.6, px - 0.6}, ink};
        }
    }
    return out;
}

HeartsLayout heartsLayout(const GaugeInputs& in, Size size) {
    HeartsLayout layout;
    const double px = std::min(size.height / 8, size.width / 40);
    layout.px = px;
    layout.last = std::max(static_cast<int>(std::ceil(5 * in.level)) - 1, 0);
    // Five hearts of 7 px with 1 px between them: 39 px, centred both ways.
    const double rowX = (size.width - 39 * px) / 2;
    const double rowY = (size.height - kHeartRows * px) / 2;
    const Point centre{kHeartColumns * px / 2, kHeartRows * px / 2};
    for (int i = 0; i < kHeartCount; ++i) {
        HeartPlacement& h = layout.hearts[static_cast<std::size_t>(i)];
        h.fill = std::clamp(5 * in.level - i, 0.0, 1.0);
        const bool beats = i == layout.last && in.state == UsageLevel::low && h.fill > 0;
        h.beat = beats ? beatScale(in.t) : 1.0;
        h.wiggle = 8 * in.hover * std::sin(12 * in.t + i);
        h.hop = hopHeight(in.t, i, px);
        h.transform = Affine::scalingAbout(centre, h.beat, h.beat)
                          .then(Affine::rotationAbout(centre, h.wiggle))
                          .then(Affine::translation(rowX + i * 8 * px, rowY - h.hop));
    }
    return layout;
}

} // namespace ostrel
