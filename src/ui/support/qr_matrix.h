#pragma once
// The modules of a QR code, without any drawing: byte mode, error correction level M.

#include <optional>
#include <string_view>
#include <vector>

namespace ostrel::UPI {

struct QrMatrix {
    int size = 0;           // modules per side, no quiet zone
    std::vector<bool> dark; // row by row, size * size entries

    bool isDark(int x, int y) const { return dark[static_cast<std::size_t>(y * size + x)]; }
};

// The QR code of the bytes of `text` at level M (the level is kept even where a higher one would
// fit the same size, so scanners see what the payment screen promises). No value when the text is
// too long for any QR version.
std::optional<QrMatrix> qrMatrix(std::string_view text);

} // namespace ostrel::UPI
