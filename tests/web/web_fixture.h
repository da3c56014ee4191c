#pragma once
// A real web engine against the loopback fake services, with its data in a private folder.

#include "async/loop.h"
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
    void SetUp() override;
    void TearDown() override;

    // Waits (bounded) until the view has finished loading.
    static void waitForLoad(WebKitWebView* view);
    // Loads `url` in `view` and waits for it.
    static void loadAndWait(WebKitWebView* view, const std::string& url);
    // Fills in the fake login form shown in `view` and sends it, as a user would.
    static void submitLoginForm(WebKitWebView* view);
    // Logs in through the fake login form at `loginURL`, as a user would, and waits for the cookie.
    static void logInThroughForm(WebSession& session, const std::string& loginURL,
                                 const std::string& cookieName);

    TempDir dir_;
    std::unique_ptr<WebContext> context_;
};

} // namespace ostrel::test
