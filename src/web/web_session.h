#pragma once
// One service's browser session: a hidden web view that stays on a page of the service, so usage
// requests are made from inside that page with the page's cookies and origin; when that fails, a
// direct request carrying the session's cookies. The same view is what the login window shows.

#include "base/gobject_ptr.h"
#include "providers/web_client.h"
#include "web/web_context.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ostrel {

class WebSession final : public WebClient {
  public:
    // `loginDomains` empty means the host alone. Starts loading the site's light document at once:
    // between requests the view rests on it rather than on the site's heavy app page.
    WebSession(WebContext& context, std::string host, std::string homeURL,
               std::vector<std::string> loginDomains = {});
    WebSession(const WebSession&) = delete;
    WebSession& operator=(const WebSession&) = delete;
    ~WebSession() override;

    Task<HttpResult> get(std::string url, Headers headers) override;
    Task<bool> hasCookie(std::string name) override;
    Task<void> logOut() override;
    Task<std::optional<TimePoint>> cookieExpiry(std::string name) override;
    Task<void> visitSite() override;

    // Sends the view back to the light document (after the login window showed the real site).
    void rest() { load(restURL_); }

    WebKitWebView* webView() const { return view_.get(); }
    const std::string& host() const { return host_; }
    const std::string& homeURL() const { return homeURL_; }
    // A small document of the service's own origin: enough to run a request with the site's cookies
    // and fetch metadata, without the scripts, timers and background requests of its app page.
    const std::string& restURL() const { return restURL_; }
    const std::vector<std::string>& loginDomains() const { return loginDomains_; }

    // Whether the view has finished loading a page of the service's own host (not a sign-in
    // provider's page on the way there).
    bool landedOnSite() const;

    // Loads `url` in the view (a 60-second bound on the load).
    void load(const std::string& url);

    // Logs "[Ostrel][host] message".
    void log(const std::string& message) const;

    // Bounds, shortened by tests that exercise them. The page's script aborts its own request at
    // `pageFetchAbort`; a web process that has not answered `pageUnresponsive` after that is stuck,
    // and is ended.
    struct Limits {
        std::chrono::milliseconds pagePoll{200};
        int pagePolls = 75;
        std::chrono::milliseconds pageFetchAbort{15000};
        std::chrono::milliseconds pageUnresponsive{5000};
        std::chrono::milliseconds directTimeout{15000};
        std::chrono::milliseconds pageLoadTimeout{60000};
        std::chrono::milliseconds cookieStoreTimeout{15000};
        std::chrono::milliseconds dataStoreTimeout{30000};
    };
    void setLimits(Limits limits) { limits_ = limits; }

    // The two routes `get` tries, in its order; public for measuring each on its own.
    Task<HttpResult> getViaPage(std::string url, Headers headers);
    Task<HttpResult> getViaCookies(std::string url, Headers headers);

  private:
    void makeView(bool shareProcess);
    // Ends the web process behind a view that stopped answering and puts a fresh view in its place.
    void replaceView();
    bool shownInVisibleWindow() const;
    bool isLoading() const;
    Task<void> waitForPage();
    struct CookieDeleter {
        void operator()(SoupCookie* c) const { soup_cookie_free(c); }
    };
    using CookiePtr = std::unique_ptr<SoupCookie, CookieDeleter>;
    // Every cookie in the store; throws WebError when the store cannot be read in time, or its
    // network process ended while it read.
    Task<std::vector<CookiePtr>> allCookies();
    Task<std::vector<CookiePtr>> readCookieStore();
    Task<void> storeAnsweredCookies(SoupMessage* msg);
    static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self);
    static void onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason reason,
                                       gpointer self);

    WebContext& context_;
    std::string host_;
    std::string homeURL_;
    std::string restURL_;
    std::vector<std::string> loginDomains_;
    GObjectPtr<WebKitWebView> view_;
    SignalConnection loadChanged_;
    SignalConnection terminated_;
    bool pageLost_ = false;      // the web process behind the page ended; the next request reloads it
    bool loadRequested_ = false; // a load we started has not reported its end yet
    SourceId loadWatchdog_;
    Limits limits_;
};

// The script the page route runs as the body of an async function with arguments `url`, `extra` and
// `timeout` (milliseconds, 15000 unless a test shortens it): it always resolves to the text of
// {"code": status, "body": text, "retryAfter": header or null, "mitigated": header or null}, code -1
// on failure. It ships in the resource bundle and is read once.
const std::string& pageFetchScript();

} // namespace ostrel
