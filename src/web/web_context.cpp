#include "web/web_context.h"

#include "async/bounded_call.h"
#include "base/log.h"
#include "base/user_dirs.h"

#include <glib/gstdio.h>

namespace ostrel {

namespace {
// One store call's answer on its way back: the session is held until the call has let go of the
// store object that answered.
struct StoreAnswer {
    GObjectPtr<WebKitNetworkSession> network;
    GAsyncReadyCallback callback;
    gpointer data;

    static void ready(GObject* source, GAsyncResult* result, gpointer self) {
        const std::unique_ptr<StoreAnswer> answer(static_cast<StoreAnswer*>(self));
        answer->callback(source, result, answer->data);
        // The engine drops its own reference to the store only after this callback returns; let go
        // of the session from an idle, after that.
        auto held = std::make_unique<GObjectPtr<WebKitNetworkSession>>(std::move(answer->network));
        g_idle_add_full(
            G_PRIORITY_LOW, [](gpointer) { return G_SOURCE_REMOVE; }, held.release(),
            [](gpointer p) {
                std::unique_ptr<GObjectPtr<WebKitNetworkSession>>(
                    static_cast<GObjectPtr<WebKitNetworkSession>*>(p));
            });
    }
};

void makePrivateDir(const std::string& path) {
    if (g_mkdir_with_parents(path.c_str(), 0700) != 0)
        log("Could not create " + path + "; logins will not be kept");
    // Tighten folders that already existed with looser modes: they hold login cookies.
    g_chmod(path.c_str(), 0700);
}
} // namespace

std::string WebContext::defaultDataDir() {
    GCharPtr p(g_build_filename(userDataDir().c_str(), "ostrel", "web", nullptr));
    return p.get();
}

std::string WebContext::defaultCacheDir() {
    GCharPtr p(g_build_filename(userCacheDir().c_str(), "ostrel", "web", nullptr));
    return p.get();
}

WebContext::WebContext() : WebContext(defaultDataDir(), defaultCacheDir()) {}

WebContext::WebContext(std::string dataDir, std::string cacheDir)
    : dataDir_(std::move(dataDir)), cacheDir_(std::move(cacheDir)) {
    makePrivateDir(dataDir_);
    makePrivateDir(cacheDir_);
    network_ = adopt(webkit_network_session_new(dataDir_.c_str(), cacheDir_.c_str()));
    GCharPtr cookieFile(g_build_filename(dataDir_.c_str(), "cookies.sqlite", nullptr));
    webkit_cookie_manager_set_persistent_storage(cookies(), cookieFile.get(),
                                                 WEBKIT_COOKIE_PERSISTENT_STORAGE_SQLITE);
    webkit_cookie_manager_set_accept_policy(cookies(), WEBKIT_COOKIE_POLICY_ACCEPT_NO_THIRD_PARTY);
    http_ = adopt(soup_session_new_with_options("user-agent", userAgent, nullptr));
    g_weak_ref_init(&firstView_, nullptr);
    // Small caches: the pages are only ever one request away from what they need.
    webkit_web_context_set_cache_model(webkit_web_context_get_default(), WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
}

WebContext::~WebContext() {
    g_weak_ref_clear(&firstView_);
}

BoundedCall::Start WebContext::storeCall(BoundedCall::Start start) const {
    return
        [network = network_, start = std::move(start)](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            auto answer = std::make_unique<StoreAnswer>(StoreAnswer{network, cb, ud});
            start(c, &StoreAnswer::ready, answer.release());
        };
}

Task<void> WebContext::addCookie(std::string name, std::string value, std::string host, int maxAgeSeconds) {
    SoupCookie* cookie = soup_cookie_new(name.c_str(), value.c_str(), host.c_str(), "/", maxAgeSeconds);
    WebKitCookieManager* manager = cookies();
    auto out = co_await boundedCall(storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
                                        webkit_cookie_manager_add_cookie(manager, cookie, c, cb, ud);
                                    }),
                                    std::chrono::seconds(15));
    webkit_cookie_manager_add_cookie_finish(manager, out.result.get(), nullptr);
    soup_cookie_free(cookie);
}

} // namespace ostrel
