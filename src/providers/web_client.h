#pragma once
// What a provider needs from its service's web session: authenticated GETs, cookie checks, a full
// visit of the site, and a way to drop the login. WebSession implements it on the web engine; tests may
// script it.

#include "async/task.h"
#include "base/time.h"

#include <chrono>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

namespace ostrel {

// A finished request: the HTTP status (0 when the answer was not HTTP) and the raw body, with the
// two answer headers that tell a rate limit and a bot check apart from the service's own refusal.
struct HttpResult {
    int code = 0;
    std::string body;
    std::optional<std::chrono::seconds> retryAfter; // Retry-After as seconds from now, in either form
    bool challenge = false;                         // the site marked the answer as a bot check
};

// Extra request headers, by name; they replace our defaults of the same name.
using Headers = std::map<std::string, std::string>;

// A failure of the request pipeline; what() is the text shown to the user.
class WebError : public std::runtime_error {
  public:
    explicit WebError(const std::string& message) : std::runtime_error(message) {}
};

class WebClient {
  public:
    virtual ~WebClient() = default;
    // Any HTTP status is a result; throws ProviderError::needsLogin or WebError.
    virtual Task<HttpResult> get(std::string url, Headers headers) = 0;
    // A cookie with exactly this name whose domain belongs to the service host. Throws WebError when
    // the cookie store cannot be read: that is not the same as no cookie.
    virtual Task<bool> hasCookie(std::string name) = 0;
    // When the stored cookie of this name expires; nothing for a session-only cookie or none.
    virtual Task<std::optional<TimePoint>> cookieExpiry(std::string name) = 0;
    // Loads the site's full page once and waits for it (bounded), so that the site's own bot check
    // can run in the browser; the session goes back to its light document afterwards.
    virtual Task<void> visitSite() = 0;
    // Removes the service's stored login data.
    virtual Task<void> logOut() = 0;
};

} // namespace ostrel
