// SPDX-License-Identifier: GPL-3.0-or-later
// The web session's direct route: the request sent with the session's cookies when the page could
// not make it. The cookies never leave the service's host: a redirect elsewhere is not followed (the
// error names where it pointed), a Secure cookie goes only over https, and only the host's own
// answer is read as the service's.
#include "async/bounded_call.h"
#include "providers/guarded_get.h"
#include "web/domain_match.h"
#include "web/url_rules.h"
#include "web/web_session.h"

#include <glib.h>
#include <memory>

namespace ostrel {

namespace {

constexpr int maxRedirects = 5;

struct UriDeleter {
    void operator()(GUri* u) const { g_uri_unref(u); }
};
using UriPtr = std::unique_ptr<GUri, UriDeleter>;

struct SListDeleter {
    void operator()(GSList* l) const { g_slist_free(l); }
};
using BorrowedSList = std::unique_ptr<GSList, SListDeleter>;

bool isRedirect(guint status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool sameHost(const char* a, const std::string& b) {
    return a && g_ascii_strcasecmp(a, b.c_str()) == 0;
}

} // namespace

Task<HttpResult> WebSession::getViaCookies(std::string url, Headers headers) {
    UriPtr target(g_uri_parse(url.c_str(), G_URI_FLAGS_ENCODED, nullptr));
    if (!target || !g_uri_get_host(target.get())) throw WebError("Invalid URL");
    if (!sameHost(g_uri_get_host(target.get()), host_))
        throw WebError(std::string("Not an address of ") + host_ + ": " + g_uri_get_host(target.get()));
    SoupSession* http = context_.http();
    for (int hop = 0;; ++hop) {
        GObjectPtr<SoupMessage> msg = adopt(soup_message_new_from_uri("GET", target.get()));
        if (!msg) throw WebError("Invalid URL");
        // Redirects are ours to judge: the session would carry our Cookie header to any host.
        soup_message_add_flags(msg.get(), SOUP_MESSAGE_NO_REDIRECT);

        const std::string scheme = g_uri_get_scheme(target.get());
        const auto cookies = co_await allCookies();
        BorrowedSList kept; // the cookies themselves belong to `cookies`
        bool found = false;
        for (const auto& c : cookies) {
            if (!domainMatches(soup_cookie_get_domain(c.get()), host_)) continue;
            found = true;
            if (cookieMayGo(soup_cookie_get_secure(c.get()), scheme, host_))
                kept.reset(g_slist_prepend(kept.release(), c.get()));
        }
        if (!found) throw WebError("No " + host_ + " login found");

        SoupMessageHeaders* h = soup_message_get_request_headers(msg.get());
        if (kept) {
            GCharPtr cookieHeader(soup_cookies_to_cookie_header(kept.get()));
            soup_message_headers_replace(h, "Cookie", cookieHeader.get());
        }
        soup_message_headers_replace(h, "User-Agent", userAgent);
        soup_message_headers_replace(h, "Accept", "application/json");
        soup_message_headers_replace(h, "Referer", homeURL_.c_str());
        for (const auto& [name, value] : headers)
            soup_message_headers_replace(h, name.c_str(), value.c_str());

        auto out = co_await boundedCall(
            [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
                soup_session_send_and_read_async(http, msg.get(), G_PRIORITY_DEFAULT, c, cb, ud);
            },
            limits_.directTimeout);
        if (out.abandoned) throw WebError("The request timed out");
        GErrorOut err;
        GBytesPtr body(soup_session_send_and_read_finish(http, out.result.get(), err.out()));
        if (!body) throw WebError(out.timedOut ? "The request timed out" : err.message());
        co_await storeAnsweredCookies(msg.get());

        const guint status = soup_message_get_status(msg.get());
        SoupMessageHeaders* answered = soup_message_get_response_headers(msg.get());
        const char* location = soup_message_headers_get_one(answered, "Location");
        if (isRedirect(status) && location) {
            UriPtr next(g_uri_parse_relative(target.get(), location, G_URI_FLAGS_ENCODED, nullptr));
            if (!next || !g_uri_get_host(next.get()))
                throw WebError("The answer redirected to an invalid address");
            if (!sameHost(g_uri_get_host(next.get()), host_)) {
                const std::string elsewhere = g_uri_get_host(next.get());
                log("Direct request redirected to " + elsewhere + "; not followed");
                throw WebError("Redirected to another host: " + elsewhere);
            }
            if (hop == maxRedirects) throw WebError("Too many redirects");
            target = std::move(next);
            continue;
        }

        gsize size = 0;
        const auto* data = static_cast<const char*>(g_bytes_get_data(body.get(), &size));
        HttpResult r;
        r.code = static_cast<int>(status);
        r.body.assign(data ? data : "", size);
        if (const char* after = soup_message_headers_get_one(answered, "Retry-After"))
            r.retryAfter = parseRetryAfter(after);
        if (const char* mitigated = soup_message_headers_get_one(answered, "cf-mitigated"))
            r.challenge = std::string_view(mitigated) == "challenge";
        co_return r;
    }
}

} // namespace ostrel
