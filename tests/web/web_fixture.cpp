#include "web_fixture.h"

#include "async/bounded_call.h"
#include "base/gobject_ptr.h"
#include "support/display.h"
#include "support/loop.h"

namespace ostrel::test {

using namespace std::chrono_literals;

void WebFixture::SetUp() {
    ASSERT_TRUE(startGtk()) << "no display";
    context_ = std::make_unique<WebContext>(dir_.file("data/ostrel/web"), dir_.file("cache/ostrel/web"));
}

void WebFixture::TearDown() {
    context_.reset();
    drain();
}

void WebFixture::waitForLoad(WebKitWebView* view) {
    // Let a just-started load begin before testing whether it is still going.
    pump(50ms);
    ASSERT_TRUE(runLoopUntil([&] { return !webkit_web_view_is_loading(view); }, 20s)) << "page did not load";
}

void WebFixture::loadAndWait(WebKitWebView* view, const std::string& url) {
    // is-loading turns true only once the web process has started the load, so wait for the
    // load's own end instead.
    bool finished = false;
    auto onChanged = +[](WebKitWebView*, WebKitLoadEvent event, gpointer flag) {
        if (event == WEBKIT_LOAD_FINISHED) *static_cast<bool*>(flag) = true;
    };
    SignalConnection c(view, g_signal_connect(view, "load-changed", G_CALLBACK(onChanged), &finished));
    webkit_web_view_load_uri(view, url.c_str());
    ASSERT_TRUE(runLoopUntil([&] { return finished; }, 20s)) << "page did not load: " << url;
}

std::string WebFixture::runScript(WebKitWebView* view, const std::string& script) {
    auto task = [](WebKitWebView* v, std::string js) -> Task<std::string> {
        auto res = co_await boundedCall(
            [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
                webkit_web_view_evaluate_javascript(v, js.c_str(), -1, nullptr, nullptr, c, cb, ud);
            },
            std::chrono::seconds(15));
        GErrorOut err;
        GObjectPtr<JSCValue> value =
            adopt(webkit_web_view_evaluate_javascript_finish(v, res.result.get(), err.out()));
        if (!value) co_return "error: " + err.message();
        GCharPtr text(jsc_value_to_string(value.get()));
        co_return std::string(text.get());
    };
    return runSync(task(view, script), 20s);
}

void WebFixture::logInThroughForm(WebSession& session, const std::string& loginURL,
                                  const std::string& cookieName) {
    loadAndWait(session.webView(), loginURL);
    runScript(session.webView(), "document.getElementById('email').value = 'dev@example.com';"
                                 "document.querySelector('button[type=submit]').click(); 'sent'");
    bool found = false;
    for (int i = 0; i < 100 && !found; ++i) {
        found = runSync(session.hasCookie(cookieName), 20s);
        if (!found) pump(100ms);
    }
    ASSERT_TRUE(found) << "the login form did not set " << cookieName;
    waitForLoad(session.webView());
}

} // namespace ostrel::test
