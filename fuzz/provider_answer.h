// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// A service's answer read the way its provider's fetch reads it.

#include "base/usage.h"
#include "fuzz_input.h"
#include "providers/json_util.h"

#include <nlohmann/json.hpp>

namespace ostrel::fuzz {

// A body that is not a JSON object is turned away before `parse` sees it, as fetch() does. The
// errors a provider may raise are answers; any other exception escapes and is a finding.
template <class Parse> void readAnswer(const std::uint8_t* data, std::size_t size, Parse parse) {
    const auto body = tryDecodeJson(text(data, size));
    if (!body || !body->is_object()) return;
    try {
        parse(*body);
    } catch (const ProviderError&) {
    } catch (const JsonDecodeError&) {
    } catch (const nlohmann::json::exception&) {
    }
}

// A fixed "now", so that a finding replays the same way.
inline TimePoint fixedNow() {
    using namespace std::chrono;
    return sys_days(year(2026) / 3 / 15) + hours(12);
}

} // namespace ostrel::fuzz
