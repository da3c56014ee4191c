#include "web/web_session.h"

#include "async/bounded_call.h"
#include "async/loop.h"
#include "base/log.h"
#include "base/usage.h"
#include "providers/guarded_get.h"
#include "web/domain_match.h"
#include "web/page_result.h"

extern "C" GResource* ostrel_get_resource(void);

namespace ostrel {

using namespace std::chrono_literals;

namespace {

// Bounds of the cookie store and the website-data store, which answer from local storage.
constexpr auto cookieStoreTimeout = 15s;
constexpr auto dataStoreTimeout = 30s;

std::string hostOf(const char* uri) {
    if (!uri) return {};
    GUri* parsed = g_uri_parse(uri, G_URI_FLAGS_NONE, nullptr);
    if (!parsed) return {};
    std::string host = g_uri_get_host(parsed) ? g_uri_get_host(parsed) : "";
    g_uri_unref(parsed);
    return host;
}

// "scheme://host[:port]" of a URL, or the URL itself when it cannot be read.
std::string originOf(const std::string& url) {
    GUri* parsed = g_uri_parse(url.c_str(), G_URI_FLAGS_NONE, nullptr);
    if (!parsed) return url;
    const int port = g_uri_get_port(parsed);
    std::string origin = std::string(g_uri_get_scheme(parsed)) + "://" +
                         (g_uri_get_host(parsed) ? g_uri_get_host(parsed) : "") +
                         (port > 0 ? ":" + std::to_string(port) : "");
    g_uri_unref(parsed);
    return origin;
}

} // namespace

WebSession::WebSession(WebContext& context, std::string host, std::string homeURL,
                       std::vector<std::string> loginDomains)
    : context_(context), host_(std::move(host)), homeURL_(std::move(homeURL)),
      restURL_(originOf(homeURL_) + "/robots.txt"),
      loginDomains_(loginDomains.empty() ? std::vector<std::string>{host_} : std::move(loginDomains)) {
    // Views related to the first one share its web process where the engine allows: one process
    // for the three hidden pages instead of one each.
    GObjectPtr<WebKitWebView> related = context_.firstView();
    auto* widget = related
                       ? g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", related.get(), nullptr)
                       : g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", context_.network(), nullptr);
    view_ = adopt(WEBKIT_WEB_VIEW(g_object_ref_sink(widget)));
    context_.noteView(view_.get());
    WebKitSettings* settings = webkit_web_view_get_settings(view_.get());
    webkit_settings_set_user_agent(settings, userAgent);
    // The pages only run a request or show a login form: nothing needs the GPU, WebGL or media.
    webkit_settings_set_hardware_acceleration_policy(settings, WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
    webkit_settings_set_enable_webgl(settings, FALSE);
    webkit_settings_set_enable_webaudio(settings, FALSE);
    webkit_settings_set_enable_media(settings, FALSE);
    loadChanged_ =
        SignalConnection(view_.get(), g_signal_connect(view_.get(), "load-changed",
                                                       G_CALLBACK(&WebSession::onLoadChanged), this));
    terminated_ = SignalConnection(view_.get(),
                                   g_signal_connect(view_.get(), "web-process-terminated",
                                                    G_CALLBACK(&WebSession::onWebProcessTerminated), this));
    load(restURL_);
}

WebSession::~WebSession() = default;

void WebSession::onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason reason,
                                        gpointer data) {
    auto* self = static_cast<WebSession*>(data);
    self->pageLost_ = true;
    self->loadRequested_ = false;
    self->log(reason == WEBKIT_WEB_PROCESS_CRASHED
                  ? "Web page crashed; it is reloaded on the next request"
                  : "Web page was stopped; it is reloaded on the next request");
}

const std::string& pageFetchScript() {
    // Read once from the bundle; the bundle is part of the program, so it is always there.
    static const std::string script = [] {
        const GBytesPtr bytes(g_resource_lookup_data(ostrel_get_resource(),
                                                     "/app/ostrel/Ostrel/web/page_fetch.js",
                                                     G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr));
        gsize size = 0;
        const auto* data = static_cast<const char*>(bytes ? g_bytes_get_data(bytes.get(), &size) : nullptr);
        return std::string(data ? data : "", size);
    }();
    return script;
}

void WebSession::log(const std::string& message) const {
    logFrom(host_, message);
}

void WebSession::load(const std::string& url) {
    loadRequested_ = true;
    webkit_web_view_load_uri(view_.get(), url.c_str());
    // A load that never ends is stopped, so waiting for the page stays bounded and the view usable.
    loadWatchdog_ = SourceId(g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(limits_.pageLoadTimeout.count()),
        [](gpointer data) -> gboolean {
            auto* self = static_cast<WebSession*>(data);
            self->loadWatchdog_.forget();
            if (webkit_web_view_is_loading(self->view_.get()))
                webkit_web_view_stop_loading(self->view_.get());
            self->loadRequested_ = false;
            return G_SOURCE_REMOVE;
        },
        this, nullptr));
}

void WebSession::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    auto* self = static_cast<WebSession*>(data);
    if (event == WEBKIT_LOAD_FINISHED) {
        self->loadRequested_ = false;
        self->loadWatchdog_.remove();
    }
}

bool WebSession::isLoading() const {
    return loadRequested_ || webkit_web_view_is_loading(view_.get());
}

bool WebSession::shownInVisibleWindow() const {
    GtkRoot* root = gtk_widget_get_root(GTK_WIDGET(view_.get()));
    return root && GTK_IS_WINDOW(root) && gtk_widget_get_visible(GTK_WIDGET(root));
}

Task<HttpResult> WebSession::get(std::string url, Headers headers) {
    if (shownInVisibleWindow()) {
        log("Skipping GET " + url + ": login window is open");
        throw ProviderError::needsLogin();
    }
    log("GET " + url);
    co_await waitForPage();
    const char* current = webkit_web_view_get_uri(view_.get());
    log(std::string("Page ready: ") + (current ? current : "none") +
        ", loading: " + (isLoading() ? "true" : "false"));

    std::string pageError;
    try {
        HttpResult r = co_await getViaPage(url, headers);
        log("Page fetch → HTTP " + std::to_string(r.code));
        co_return r;
    } catch (const std::exception& e) {
        pageError = e.what();
    }
    log("Page fetch failed: " + pageError + ". Trying direct request…");
    std::string directError;
    try {
        HttpResult r = co_await getViaCookies(url, headers);
        log("Direct request → HTTP " + std::to_string(r.code));
        co_return r;
    } catch (const std::exception& e) {
        directError = e.what();
    }
    log("Direct request failed: " + directError);
    throw WebError("Page: " + pageError + " | Direct: " + directError);
}

bool WebSession::landedOnSite() const {
    return !isLoading() && domainMatches(hostOf(webkit_web_view_get_uri(view_.get())), host_);
}

Task<void> WebSession::waitForPage() {
    const char* current = webkit_web_view_get_uri(view_.get());
    if (pageLost_ || !current || !domainMatches(hostOf(current), host_)) {
        pageLost_ = false;
        load(restURL_);
    }
    for (int polls = 0;; ++polls) {
        if (!isLoading() && webkit_web_view_get_uri(view_.get())) co_return;
        if (polls == limits_.pagePolls) co_return; // try the page as it is
        co_await sleepFor(limits_.pagePoll);
    }
}

Task<HttpResult> WebSession::getViaPage(std::string url, Headers headers) {
    GVariantBuilder extra;
    g_variant_builder_init(&extra, G_VARIANT_TYPE_VARDICT);
    for (const auto& [name, value] : headers)
        g_variant_builder_add(&extra, "{sv}", name.c_str(), g_variant_new_string(value.c_str()));
    GVariantBuilder args;
    g_variant_builder_init(&args, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&args, "{sv}", "url", g_variant_new_string(url.c_str()));
    g_variant_builder_add(&args, "{sv}", "extra", g_variant_builder_end(&extra));
    g_variant_builder_add(&args, "{sv}", "timeout",
                          g_variant_new_int32(static_cast<gint32>(limits_.pageFetchAbort.count())));
    GVariant* arguments = g_variant_builder_end(&args); // floating: the call takes it

    // The script aborts its own request; this bound is for a web process that never answers at all.
    WebKitWebView* view = view_.get();
    const std::string& script = pageFetchScript();
    auto out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            webkit_web_view_call_async_javascript_function(view, script.c_str(),
                                                           static_cast<gssize>(script.size()), arguments,
                                                           nullptr, nullptr, c, cb, ud);
        },
        limits_.pageFetchAbort + 5s);
    GErrorOut err;
    GObjectPtr<JSCValue> value =
        adopt(webkit_web_view_call_async_javascript_function_finish(view, out.result.get(), err.out()));
    if (!value) {
        const char* now = webkit_web_view_get_uri(view);
        const std::string why = out.timedOut ? "The page did not answer in time" : err.message();
        throw WebError(why + " (page: " + (now ? now : "none") + ")");
    }
    if (!jsc_value_is_string(value.get())) throw WebError("Unexpected result from page");
    GCharPtr text(jsc_value_to_string(value.get()));
    co_return readPageResult(text.get());
}

Task<std::vector<WebSession::CookiePtr>> WebSession::allCookies() {
    WebKitCookieManager* manager = context_.cookies();
    auto listed =
        co_await boundedCall(context_.storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            webkit_cookie_manager_get_all_cookies(manager, c, cb, ud);
        }),
                             cookieStoreTimeout);
    GErrorOut err;
    GList* list = webkit_cookie_manager_get_all_cookies_finish(manager, listed.result.get(), err.out());
    // An empty store answers an empty list without an error; a failed or slow read is not "no login".
    if (!list && err) throw WebError("Could not read the cookie store");
    std::vector<CookiePtr> out;
    for (GList* l = list; l; l = l->next)
        out.emplace_back(static_cast<SoupCookie*>(l->data));
    g_list_free(list);
    co_return out;
}

Task<bool> WebSession::hasCookie(std::string name) {
    for (const auto& c : co_await allCookies())
        if (name == soup_cookie_get_name(c.get()) && domainMatches(soup_cookie_get_domain(c.get()), host_))
            co_return true;
    co_return false;
}

Task<HttpResult> WebSession::getViaCookies(std::string url, Headers headers) {
    GUri* parsed = g_uri_parse(url.c_str(), G_URI_FLAGS_ENCODED, nullptr);
    if (!parsed || !g_uri_get_host(parsed)) {
        if (parsed) g_uri_unref(parsed);
        throw WebError("Invalid URL");
    }
    GObjectPtr<SoupMessage> msg = adopt(soup_message_new_from_uri("GET", parsed));
    g_uri_unref(parsed);
    if (!msg) throw WebError("Invalid URL");

    GSList* kept = nullptr;
    auto cookies = co_await allCookies();
    for (const auto& c : cookies)
        if (domainMatches(soup_cookie_get_domain(c.get()), host_)) kept = g_slist_append(kept, c.get());
    if (!kept) throw WebError("No " + host_ + " login found");
    GCharPtr cookieHeader(soup_cookies_to_cookie_header(kept));
    g_slist_free(kept); // the cookies themselves belong to `cookies`

    SoupMessageHeaders* h = soup_message_get_request_headers(msg.get());
    soup_message_headers_replace(h, "Cookie", cookieHeader.get());
    soup_message_headers_replace(h, "User-Agent", userAgent);
    soup_message_headers_replace(h, "Accept", "application/json");
    soup_message_headers_replace(h, "Referer", homeURL_.c_str());
    for (const auto& [name, value] : headers)
        soup_message_headers_replace(h, name.c_str(), value.c_str());

    SoupSession* http = context_.http();
    auto out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            soup_session_send_and_read_async(http, msg.get(), G_PRIORITY_DEFAULT, c, cb, ud);
        },
        limits_.directTimeout);
    GErrorOut err;
    GBytesPtr body(soup_session_send_and_read_finish(http, out.result.get(), err.out()));
    if (!body) throw WebError(out.timedOut ? "The request timed out" : err.message());
    co_await storeAnsweredCookies(msg.get());
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(body.get(), &size));
    HttpResult r;
    r.code = static_cast<int>(soup_message_get_status(msg.get()));
    r.body.assign(data ? data : "", size);
    SoupMessageHeaders* answered = soup_message_get_response_headers(msg.get());
    if (const char* after = soup_message_headers_get_one(answered, "Retry-After"))
        r.retryAfter = parseRetryAfter(after);
    if (const char* mitigated = soup_message_headers_get_one(answered, "cf-mitigated"))
        r.challenge = std::string_view(mitigated) == "challenge";
    co_return r;
}

Task<void> WebSession::storeAnsweredCookies(SoupMessage* msg) {
    // A service may rotate its session cookie in any answer; keep the new one for the page too, and
    // wait until the store has it, so the next request from the page does not carry the old one.
    GSList* answered = soup_cookies_from_response(msg);
    std::vector<CookiePtr> cookies;
    for (GSList* l = answered; l; l = l->next)
        cookies.emplace_back(static_cast<SoupCookie*>(l->data));
    g_slist_free(answered);
    WebKitCookieManager* manager = context_.cookies();
    for (const CookiePtr& cookie : cookies) {
        auto added = co_await boundedCall(
            context_.storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
                webkit_cookie_manager_add_cookie(manager, cookie.get(), c, cb, ud);
            }),
            cookieStoreTimeout);
        if (added.result) webkit_cookie_manager_add_cookie_finish(manager, added.result.get(), nullptr);
    }
}

Task<void> WebSession::logOut() {
    WebKitWebsiteDataManager* manager = context_.dataManager();
    auto fetched =
        co_await boundedCall(context_.storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            webkit_website_data_manager_fetch(manager, WEBKIT_WEBSITE_DATA_ALL, c, cb, ud);
        }),
                             dataStoreTimeout);
    GList* records = webkit_website_data_manager_fetch_finish(manager, fetched.result.get(), nullptr);

    GList* kept = nullptr;
    std::size_t count = 0;
    for (GList* l = records; l; l = l->next) {
        auto* record = static_cast<WebKitWebsiteData*>(l->data);
        const std::string_view name = webkit_website_data_get_name(record);
        for (const auto& domain : loginDomains_) {
            if (domainMatches(name, domain)) {
                kept = g_list_append(kept, record);
                ++count;
                break;
            }
        }
    }
    if (kept) {
        auto removed = co_await boundedCall(
            context_.storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
                webkit_website_data_manager_remove(manager, WEBKIT_WEBSITE_DATA_ALL, kept, c, cb, ud);
            }),
            dataStoreTimeout);
        webkit_website_data_manager_remove_finish(manager, removed.result.get(), nullptr);
    }
    g_list_free(kept);
    g_list_free_full(records, reinterpret_cast<GDestroyNotify>(webkit_website_data_unref));
    log("Logged out (" + std::to_string(count) + " data records removed)");
    load(restURL_);
}

Task<std::optional<TimePoint>> WebSession::cookieExpiry(std::string name) {
    for (const auto& c : co_await allCookies()) {
        if (name != soup_cookie_get_name(c.get()) || !domainMatches(soup_cookie_get_domain(c.get()), host_))
            continue;
        GDateTime* expires = soup_cookie_get_expires(c.get()); // owned by the cookie
        if (!expires) co_return std::nullopt;                  // a session-only cookie
        co_return TimePoint(std::chrono::seconds(g_date_time_to_unix(expires)));
    }
    co_return std::nullopt;
}

Task<void> WebSession::visitSite() {
    // The site's own bot check runs in its full page; the light document has no scripts to run it.
    log("Visiting " + homeURL_ + " for the site's check");
    load(homeURL_);
    for (int polls = 0; isLoading() && polls < limits_.pagePolls; ++polls)
        co_await sleepFor(limits_.pagePoll);
    co_await sleepFor(limits_.pagePoll * 5); // a moment for the check's own script to finish
    load(restURL_);
}

} // namespace ostrel
