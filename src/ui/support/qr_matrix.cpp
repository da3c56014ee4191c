#include "ui/support/qr_matrix.h"

#include <cstdint>
#include <qrcodegen/qrcodegen.hpp>

namespace ostrel::UPI {

std::optional<QrMatrix> qrMatrix(std::string_view text) {
    using qrcodegen::QrCode;
    using qrcodegen::QrSegment;
    try {
        const std::vector<std::uint8_t> bytes(text.begin(), text.end());
        const std::vector<QrSegment> segments{QrSegment::makeBytes(bytes)};
        const QrCode code = QrCode::encodeSegments(segments, QrCode::Ecc::MEDIUM, QrCode::MIN_VERSION,
                                                   QrCode::MAX_VERSION, -1, /*boostEcl=*/false);
        QrMatrix m;
        m.size = code.getSize();
        m.dark.reserve(static_cast<std::size_t>(m.size * m.size));
        for (int y = 0; y < m.size; ++y)
            for (int x = 0; x < m.size; ++x)
                m.dark.push_back(code.getModule(x, y));
        return m;
    } catch (const qrcodegen::data_too_long&) {
        return std::nullopt;
    }
}

} // namespace ostrel::UPI
