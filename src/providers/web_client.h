#pragma once
// What a provider needs from its service's web session: authenticated GETs, a cookie check and a
// way to drop the login. WebSession implements it on the web engine; tests may script it.

#include "async/task.h"

#include <map>
#include <stdexcept>
#include <string>

namespace ostrel {

// A finished request: the HTTP status (0 when the answer was not HTTP) and the raw body.
struct HttpResult {
    int code = 0;
    std::string body;
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
    // A cookie with exactly this name whose domain ends with the service host.
    virtual Task<bool> hasCookie(std::string name) = 0;
    // Removes the service's stored login data.
    virtual Task<void> logOut() = 0;
};

} // namespace ostrel
