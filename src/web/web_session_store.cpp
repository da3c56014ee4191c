// SPDX-License-Identifier: GPL-3.0-or-later
// The web session's use of the engine's stores: reading the cookie store, keeping cookies a direct
// answer set, and removing a service's site data at log-out. Every call is bounded; a store that
// does not answer, or answers with an error, is a failure to report, never "no login".
#include "async/bounded_call.h"
#include "base/log.h"
#include "web/domain_match.h"
#include "web/engine_process.h"
#include "web/web_session.h"

#include <memory>

namespace ostrel {

namespace {

constexpr const char* cookieStoreFailure = "Could not read the cookie store";

struct WebsiteDataListDeleter {
    void operator()(GList* list) const {
        g_list_free_full(list, reinterpret_cast<GDestroyNotify>(webkit_website_data_unref));
    }
};
// The records a fetch answered; each holds a reference.
using WebsiteDataList = std::unique_ptr<GList, WebsiteDataListDeleter>;

struct ListDeleter {
    void operator()(GList* list) const { g_list_free(list); }
};
// A list of records borrowed from a WebsiteDataList.
using BorrowedList = std::unique_ptr<GList, ListDeleter>;

} // namespace

Task<std::vector<WebSession::CookiePtr>> WebSession::readCookieStore() {
    const std::optional<unsigned long long> began = ticksSinceBoot();
    WebKitCookieManager* manager = context_.cookies();
    auto listed =
        co_await boundedCall(context_.storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            webkit_cookie_manager_get_all_cookies(manager, c, cb, ud);
        }),
                             limits_.cookieStoreTimeout);
    if (listed.abandoned) throw WebError(cookieStoreFailure);
    GErrorOut err;
    GList* list = webkit_cookie_manager_get_all_cookies_finish(manager, listed.result.get(), err.out());
    std::vector<CookiePtr> out;
    for (GList* l = list; l; l = l->next)
        out.emplace_back(static_cast<SoupCookie*>(l->data));
    g_list_free(list);
    if (err) throw WebError(cookieStoreFailure);
    if (out.empty()) {
        // A network process that ends during the read answers an empty list and no error: an empty
        // answer counts only from a process that was there before the read and still is.
        const std::optional<unsigned long long> started = networkProcessStart();
        if (!started || (began && *started >= *began)) throw WebError(cookieStoreFailure);
    }
    co_return out;
}

Task<std::vector<WebSession::CookiePtr>> WebSession::allCookies() {
    co_return co_await readCookieStore();
}

Task<bool> WebSession::hasCookie(std::string name) {
    for (const auto& c : co_await allCookies())
        if (name == soup_cookie_get_name(c.get()) && domainMatches(soup_cookie_get_domain(c.get()), host_))
            co_return true;
    co_return false;
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
            limits_.cookieStoreTimeout);
        if (added.result) webkit_cookie_manager_add_cookie_finish(manager, added.result.get(), nullptr);
    }
}

Task<void> WebSession::logOut() {
    WebKitWebsiteDataManager* manager = context_.dataManager();
    auto fetched =
        co_await boundedCall(context_.storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            webkit_website_data_manager_fetch(manager, WEBKIT_WEBSITE_DATA_ALL, c, cb, ud);
        }),
                             limits_.dataStoreTimeout);
    if (fetched.abandoned) throw WebError("Could not read the stored site data");
    GErrorOut fetchError;
    const WebsiteDataList records(
        webkit_website_data_manager_fetch_finish(manager, fetched.result.get(), fetchError.out()));
    if (fetchError) throw WebError("Could not read the stored site data");

    BorrowedList kept;
    std::size_t count = 0;
    for (GList* l = records.get(); l; l = l->next) {
        auto* record = static_cast<WebKitWebsiteData*>(l->data);
        const std::string_view name = webkit_website_data_get_name(record);
        for (const auto& domain : loginDomains_) {
            if (domainMatches(name, domain)) {
                kept.reset(g_list_prepend(kept.release(), record));
                ++count;
                break;
            }
        }
    }
    if (kept) {
        GList* toRemove = kept.get();
        auto removed = co_await boundedCall(
            context_.storeCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
                webkit_website_data_manager_remove(manager, WEBKIT_WEBSITE_DATA_ALL, toRemove, c, cb, ud);
            }),
            limits_.dataStoreTimeout);
        if (removed.abandoned) throw WebError("Could not remove the stored site data");
        GErrorOut removeError;
        if (!webkit_website_data_manager_remove_finish(manager, removed.result.get(), removeError.out()))
            throw WebError("Could not remove the stored site data");
    }
    log("Logged out (" + std::to_string(count) + " data records removed)");
    load(restURL_);
}

} // namespace ostrel
