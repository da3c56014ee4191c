// SPDX-License-Identifier: GPL-3.0-or-later
// Claude's usage answer, as the body bytes the service sends.
#include "provider_answer.h"
#include "providers/claude_provider.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ostrel::fuzz::readAnswer(data, size, [](const nlohmann::json& body) {
        ostrel::ClaudeProvider::parse(body, ostrel::fuzz::fixedNow());
    });
    return 0;
}
