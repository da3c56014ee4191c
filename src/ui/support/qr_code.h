#pragma once
// The QR code of a text as an image: one module is 10 × 10 pixels, black on white.

#include <gdkmm/texture.h>
#include <string_view>

namespace ostrel::UPI {

inline constexpr int pixelsPerModule = 10;

// Null when the text does not fit in a QR code.
Glib::RefPtr<Gdk::Texture> qrCode(std::string_view text);

} // namespace ostrel::UPI
