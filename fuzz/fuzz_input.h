// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The fuzzer's input as the text the code under test reads.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ostrel::fuzz {

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace ostrel::fuzz
