#pragma once
// The answers no provider reads as its service's own: the site's bot check, and a rate limit.

#include "providers/web_client.h"

#include <string>
#include <string_view>

namespace ostrel {

// Reads a Retry-After value in either of its forms: seconds ("120") or an HTTP date ("Wed, 21 Oct
// 2015 07:28:00 GMT", and the two older date forms), the date counted from `now` (a date already
// past is 0). Anything else is no value. At most a day: how much of it to honour is the model's call.
std::optional<std::chrono::seconds> parseRetryAfter(std::string_view text, TimePoint now);
// The same, dates counted from the wall clock's now.
std::optional<std::chrono::seconds> parseRetryAfter(std::string_view text);

// A 403 or 503 that is the site's challenge page (HTML, or marked as a challenge) rather than the
// service's own JSON refusal, which means "not logged in".
bool isBotCheck(const HttpResult& r);
// A 429, or a 503 that says when to come back.
bool isRateLimit(const HttpResult& r);

// GETs `url` through `web`. A bot check gets one more try after the site's full page has had its
// chance to run the check; a second one throws ProviderError::botCheck. A rate limit throws
// ProviderError::rateLimited. Every other answer is returned for the provider to judge.
Task<HttpResult> guardedGet(WebClient* web, std::string host, std::string url, Headers headers);

} // namespace ostrel
