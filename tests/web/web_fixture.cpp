#include "web_fixture.h"

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

void WebFixture::submitLoginForm(WebKitWebView* view) {
    webkit_web_view_evaluate_javascript(view,
                                        "document.getElementById('email').value = 'dev@example.com';"
                                        "document.querySelector('button[type=submit]').click();",
                                        -1, nullptr, nullptr, nullptr, nullptr, nullptr);
}

void WebFixture::logInThroughForm(WebSession& session, const std::string& loginURL,
                                  const std::string& cookieName) {
    loadAndWait(session.webView(), loginURL);
    submitLoginForm(session.webView());
    bool found = false;
    for (int i = 0; i < 100 && !found; ++i) {
        found = runSync(session.hasCookie(cookieName), 20s);
        if (!found) pump(100ms);
    }
    ASSERT_TRUE(found) << "the login form did not set " << cookieName;
    waitForLoad(session.webView());
}

} // namespace ostrel::test
