#include "web/web_session.h"

#include "async/bounded_call.h"
#include "async/loop.h"
#include "base/log.h"
#include "base/usage.h"
#include "providers/guarded_get.h"
#include "web/domain_match.h"
#include "web/page_result.h"
#include "web/url_rules.h"

extern "C" GResource* ostrel_get_resource(void);

namespace ostrel {

using namespace std::chrono_literals;

WebSession::WebSession(WebContext& context, std::string host, std::string homeURL,
                       std::vector<std::string> loginDomains)
    : context_(context), host_(std::move(host)), homeURL_(std::move(homeURL)),
      restURL_(originOf(homeURL_) + "/robots.txt"),
      loginDomains_(loginDomains.empty() ? std::vector<std::string>{host_} : std::move(loginDomains)) {
    makeView(true);
    load(restURL_);
}

WebSession::~WebSession() = default;

void WebSession::makeView(bool shareProcess) {
    // Views related to the first one share its web process where the engine allows: one process
    // for the three hidden pages instead of one each.
    GObjectPtr<WebKitWebView> related = shareProcess ? context_.firstView() : GObjectPtr<WebKitWebView>();
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
}

void WebSession::replaceView() {
    if (shownInVisibleWindow()) {
        // The user has the view in front of them (the login window opened meanwhile): keep it, and
        // let the engine start a new process for it at its next load.
        log("The web page stopped answering; its process is ended");
        webkit_web_view_terminate_web_process(view_.get());
        pageLost_ = true;
        return;
    }
    log("The web page stopped answering; its process is ended and a fresh page made");
    const GObjectPtr<WebKitWebView> stuck = std::move(view_);
    loadChanged_.disconnect();
    terminated_.disconnect();
    loadWatchdog_.remove();
    loadRequested_ = false;
    pageLost_ = false;
    // A stopped process answers no request to end itself; the engine kills it outright. The stuck
    // view may still sit in the hidden login window, which swaps it for the fresh one when shown.
    webkit_web_view_terminate_web_process(stuck.get());
    makeView(false); // a process of its own: the first view's may be the one just ended
    load(restURL_);
}

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
        // The page is the user's now; an open login window says nothing about the login itself.
        log("Skipping GET " + url + ": login window is open");
        throw WebError("The login window is open");
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
    const char* uri = webkit_web_view_get_uri(view_.get());
    return !isLoading() && domainMatches(hostOf(uri ? uri : ""), host_);
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
        limits_.pageFetchAbort + limits_.pageUnresponsive);
    if (out.abandoned) {
        // The script would have ended its own request long ago: the web process is stuck (stopped,
        // or spinning). Waiting on it would hold every later request of this service too.
        const char* now = webkit_web_view_get_uri(view);
        const std::string where = now ? now : "none";
        replaceView();
        throw WebError("The page did not answer in time (page: " + where + ")");
    }
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
    co_return readPageResult(text.get(), host_);
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
