#pragma once
// A real web engine against the loopback fake services, with its data in a private folder.

#include "async/loop.h"
#include "support/display.h"
#include "support/loop.h"
#include "support/test_env.h"
#include "web/web_context.h"
#include "web/web_session.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <memory>
#include <string>

namespace ostrel::test {

class WebFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        context_ = std::make_unique<WebContext>(dir_.file("data/ostrel/web"), dir_.file("cache/ostrel/web"));
    }
    void TearDown() override {
        context_.reset();
        drain();
    }

    // Waits (bounded) until the view has finished loading; a load just started is let begin first.
    static void waitForLoad(WebKitWebView* view) {
        pump(std::chrono::milliseconds(50));
        ASSERT_TRUE(runLoopUntil([&] { return !webkit_web_view_is_loading(view); }, std::chrono::seconds(20)))
            << "page did not load";
    }
    // Loads `url` in `view` and waits for the load's own end: is-loading turns true only once the web
    // process has started it.
    static void loadAndWait(WebKitWebView* view, const std::string& url) {
        bool finished = false;
        auto onChanged = +[](WebKitWebView*, WebKitLoadEvent event, gpointer flag) {
            if (event == WEBKIT_LOAD_FINISHED) *static_cast<bool*>(flag) = true;
        };
        SignalConnection c(view, g_signal_connect(view, "load-changed", G_CALLBACK(onChanged), &finished));
        webkit_web_view_load_uri(view, url.c_str());
        ASSERT_TRUE(runLoopUntil([&] { return finished; }, std::chrono::seconds(20)))
            << "page did not load: " << url;
    }
    // Fills in the fake login form shown in `view` and sends it, as a user would.
    static void submitLoginForm(WebKitWebView* view) {
        webkit_web_view_evaluate_javascript(view,
                                            "document.getElementById('email').value = 'dev@example.com';"
                                            "document.querySelector('button[type=submit]').click();",
                                            -1, nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    // Logs in through the fake login form at `loginURL` and waits for the cookie and the page after it.
    static void logInThroughForm(WebSession& session, const std::string& loginURL,
                                 const std::string& cookieName) {
        loadAndWait(session.webView(), loginURL);
        submitLoginForm(session.webView());
        bool found = false;
        for (int i = 0; i < 100 && !found; ++i) {
            found = runSync(session.hasCookie(cookieName), std::chrono::seconds(20));
            if (!found) pump(std::chrono::milliseconds(100));
        }
        ASSERT_TRUE(found) << "the login form did not set " << cookieName;
        waitForLoad(session.webView());
    }

    TempDir dir_;
    std::unique_ptr<WebContext> context_;
};

} // namespace ostrel::test
