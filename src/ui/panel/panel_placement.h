#pragma once
// Where the panel goes when the tray reports a click: centred under the pointer (or above it when
// the tray sits at the bottom of the screen), kept inside the monitor's work area.

namespace ostrel {

struct ScreenPoint {
    int x = 0;
    int y = 0;
    bool operator==(const ScreenPoint&) const = default;
};

struct ScreenRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool contains(ScreenPoint p) const { return p.x >= x && p.x < x + width && p.y >= y && p.y < y + height; }
};

// Top-left corner for a panel of `width` × `height` opened by a click at `pointer`.
ScreenPoint placePanel(ScreenPoint pointer, int width, int height, ScreenRect workArea);

} // namespace ostrel
