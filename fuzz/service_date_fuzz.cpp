// SPDX-License-Identifier: GPL-3.0-or-later
// The services' date rule, fed any text a "resets_at" or "billingCycleEnd" might hold.
#include "base/service_date.h"
#include "fuzz_input.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = ostrel::fuzz::text(data, size);
    const auto when = ostrel::parseServiceDate(text);
    // The shortest date the rule reads is "YYYY-MM-DDTHH:MM:SSZ".
    if (when && text.size() < 20) std::abort();
    return 0;
}
