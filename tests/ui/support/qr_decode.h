#pragma once
// Reads a QR code back with a real decoder (zbarimg from zbar-tools).

#include <optional>
#include <string>

namespace ostrel::test {

// The text of the one QR code in the PNG at `path`, or nothing when zbarimg finds none.
std::optional<std::string> decodeQr(const std::string& path);

} // namespace ostrel::test
