// SPDX-License-Identifier: GPL-3.0-or-later
// Cursor's usage summary, as the body bytes the service sends.
#include "provider_answer.h"
#include "providers/cursor_provider.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ostrel::fuzz::readAnswer(data, size,
                             [](const nlohmann::json& body) { ostrel::CursorProvider::parse(body); });
    return 0;
}
