#include "ui/support/qr_code.h"

#include "ui/support/qr_matrix.h"

#include <gdkmm/memorytexture.h>
#include <glibmm/bytes.h>
#include <vector>

namespace ostrel::UPI {

Glib::RefPtr<Gdk::Texture> qrCode(std::string_view text) {
    const auto matrix = qrMatrix(text);
    if (!matrix) return {};
    const int side = matrix->size * pixelsPerModule;
    const auto stride = static_cast<std::size_t>(side) * 3;
    std::vector<guint8> pixels(stride * static_cast<std::size_t>(side), 0xFF);
    for (int y = 0; y < side; ++y) {
        guint8* row = pixels.data() + static_cast<std::size_t>(y) * stride;
        for (int x = 0; x < side; ++x)
            if (matrix->isDark(x / pixelsPerModule, y / pixelsPerModule))
                std::fill_n(row + static_cast<std::size_t>(x) * 3, 3, guint8{0});
    }
    auto bytes = Glib::Bytes::create(pixels.data(), pixels.size());
    return Gdk::MemoryTexture::create(side, side, Gdk::MemoryTexture::Format::R8G8B8, bytes, stride);
}

} // namespace ostrel::UPI
