#pragma once
// One picture of a tray item as hosts read it from IconPixmap: ARGB32 in network byte order, not
// premultiplied. Cairo draws premultiplied pixels in native byte order, so each one is converted.

#include <cairo.h>
#include <vector>

namespace ostrel {

struct TrayPixmap {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> argb; // a, r, g, b for each pixel, row by row

    // Converts a Cairo ARGB32 image surface.
    static TrayPixmap fromSurface(cairo_surface_t* surface);
};

} // namespace ostrel
