// SPDX-License-Identifier: GPL-3.0-or-later
// Codex's usage answer, as the body bytes the service sends.
#include "provider_answer.h"
#include "providers/codex_provider.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ostrel::fuzz::readAnswer(data, size, [](const nlohmann::json& body) {
        ostrel::CodexProvider::parse(body, ostrel::fuzz::fixedNow());
    });
    return 0;
}
