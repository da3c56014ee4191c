#pragma once
// The contract every service's provider fulfils.

#include "base/usage.h"
#include "providers/web_client.h"

#include <string>

namespace ostrel {

class UsageProvider {
  public:
    virtual ~UsageProvider() = default;
    virtual ProviderID id() const = 0;
    // The provider's own web session, created with it.
    virtual WebClient& web() = 0;
    // The page the login window opens.
    virtual std::string loginURL() const = 0;
    // The cookie that holds the login; its expiry is the login's.
    virtual std::string sessionCookieName() const = 0;
    // One complete read of the service's usage; throws ProviderError, WebError or a JSON error.
    virtual Task<UsageSnapshot> fetch() = 0;
    // Forgets whatever the provider cached about the logged-in account.
    virtual void reset() = 0;
};

} // namespace ostrel
