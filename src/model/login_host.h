#pragma once
// What the model needs from the login window: show a service's own login page, and hear when the
// user closes it. The web layer implements it; the model never sees a web view.

#include "providers/usage_provider.h"

#include <functional>

namespace ostrel {

// Shows a service's own login page to the user; calls `onClose` when the user closes it.
class LoginHost {
  public:
    virtual ~LoginHost() = default;
    virtual void show(ProviderID id, UsageProvider& provider) = 0;
    // The providers are going (the model is being destroyed): stop using what they own.
    virtual void release() {}
    // Whether the login page of `id` is on screen now. Its page then belongs to the user: a refresh
    // waits for the window to close rather than read the open window as a log-out.
    virtual bool isShowing(ProviderID) const { return false; }
    std::function<void(ProviderID)> onClose;
};

} // namespace ostrel
