#include "tray/tray_pixmap.h"

#include <algorithm>
#include <cstdint>

namespace ostrel {

TrayPixmap TrayPixmap::fromSurface(cairo_surface_t* surface) {
    TrayPixmap p;
    cairo_surface_flush(surface);
    p.width = cairo_image_surface_get_width(surface);
    p.height = cairo_image_surface_get_height(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    p.argb.reserve(static_cast<std::size_t>(p.width * p.height * 4));
    for (int y = 0; y < p.height; ++y) {
        // Read as whole words: Cairo keeps a pixel as one native-endian 32-bit value.
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + y * stride);
        for (int x = 0; x < p.width; ++x) {
            const std::uint32_t px = row[x];
            const unsigned a = px >> 24;
            auto channel = [&](unsigned shift) -> unsigned char {
                const unsigned c = (px >> shift) & 0xff;
                return static_cast<unsigned char>(a == 0 ? 0 : std::min(255u, (c * 255 + a / 2) / a));
            };
            p.argb.push_back(static_cast<unsigned char>(a));
            p.argb.push_back(channel(16));
            p.argb.push_back(channel(8));
            p.argb.push_back(channel(0));
        }
    }
    return p;
}

} // namespace ostrel
