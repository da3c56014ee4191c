#pragma once
// The one persistent web-engine session every service shares (cookies and website data under
// $XDG_DATA_HOME/ostrel/web, cache under $XDG_CACHE_HOME/ostrel/web, folders mode 0700), and the
// HTTP session of the direct route. Created once per run, after GTK is initialised.

#include "async/bounded_call.h"
#include "async/task.h"
#include "base/gobject_ptr.h"

#include <libsoup/soup.h>
#include <string>
#include <webkit/webkit.h>

namespace ostrel {

class WebContext {
  public:
    WebContext(std::string dataDir, std::string cacheDir);
    // The default folders.
    WebContext();
    ~WebContext();
    WebContext(const WebContext&) = delete;
    WebContext& operator=(const WebContext&) = delete;

    WebKitNetworkSession* network() const { return network_.get(); }
    WebKitCookieManager* cookies() const { return webkit_network_session_get_cookie_manager(network_.get()); }
    WebKitWebsiteDataManager* dataManager() const {
        return webkit_network_session_get_website_data_manager(network_.get());
    }
    SoupSession* http() const { return http_.get(); }
    const std::string& dataDir() const { return dataDir_; }
    const std::string& cacheDir() const { return cacheDir_; }

    // The first web view made on this context, which later ones are related to (so they can share
    // its web process); nothing once it is gone.
    GObjectPtr<WebKitWebView> firstView() const {
        return adopt(static_cast<WebKitWebView*>(g_weak_ref_get(&firstView_)));
    }
    void noteView(WebKitWebView* view) {
        if (!firstView()) g_weak_ref_set(&firstView_, view);
    }

    // Wraps the start of a call on the cookie or website-data store so that the network session
    // outlives the call's answer. The engine's store objects crash when the last reference to one
    // goes after the session, and a cancelled call still answers later, when its owner (and maybe
    // this context) is gone.
    BoundedCall::Start storeCall(BoundedCall::Start start) const;

    // Stores a cookie for `host` in the persistent store, as the service setting it would.
    Task<void> addCookie(std::string name, std::string value, std::string host,
                         int maxAgeSeconds = 30 * 24 * 3600);

    static std::string defaultDataDir();
    static std::string defaultCacheDir();

  private:
    std::string dataDir_;
    std::string cacheDir_;
    GObjectPtr<WebKitNetworkSession> network_;
    GObjectPtr<SoupSession> http_;
    mutable GWeakRef firstView_;
};

// The fixed browser identity of the web view and of direct requests.
inline constexpr const char* userAgent =
    "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/605.1.15 "
    "(KHTML, like Gecko) Version/18.0 Safari/605.1.15";

} // namespace ostrel
