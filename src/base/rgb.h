#pragma once
// An sRGB colour without opacity, components 0…1: what the gauges and the tray tint with.

namespace ostrel {

struct Rgb {
    double r = 0, g = 0, b = 0;
    bool operator==(const Rgb&) const = default;
};

} // namespace ostrel
