#include "ui/panel/panel_placement.h"

#include <algorithm>

namespace ostrel {

namespace {
constexpr int gap = 4; // between the pointer and the panel's edge

int clampInto(int start, int length, int areaStart, int areaLength) {
    // A panel larger than the area keeps its top-left corner visible.
    return std::max(areaStart, std::min(start, areaStart + areaLength - length));
}
} // namespace

ScreenPoint placePanel(ScreenPoint pointer, int width, int height, ScreenRect workArea) {
    const bool trayBelow = pointer.y > workArea.y + workArea.height / 2;
    const int x = pointer.x - width / 2;
    const int y = trayBelow ? pointer.y - gap - height : pointer.y + gap;
    return {clampInto(x, width, workArea.x, workArea.width),
            clampInto(y, height, workArea.y, workArea.height)};
}

} // namespace ostrel
