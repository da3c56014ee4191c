// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What the page-fetch script hands back: a JSON object {code, body, url?, retryAfter?, mitigated?}, or
// code -1 with the reason when the page's own request failed. Kept apart from the web view so that
// it can be fed anything a page might return.

#include "providers/web_client.h"

#include <string_view>

namespace ostrel {

// Throws WebError for anything that is not a well-formed result, or for the page's own failure.
// With `host` given, an answer that came from another host (its "url") is refused too.
HttpResult readPageResult(std::string_view text, std::string_view host = {});

} // namespace ostrel
