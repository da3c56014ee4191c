#include "fake_claude.h"
#include "model/usage_model.h"
#include "providers/claude_provider.h"
#include "scripted_model.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "web/login_window.h"
#include "web_fixture.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeClaude;

TEST(LoginWindowSite, IsTheLoginAddressHostWithoutWww) {
    for (const auto& [url, site] :
         std::vector<std::pair<std::string, std::string>>{{"https://claude.ai/login", "claude.ai"},
                                                          {"https://www.cursor.com/dashboard", "cursor.com"},
                                                          {"https://chatgpt.com/auth/login", "chatgpt.com"},
                                                          {"http://127.0.0.2:8080/login", "127.0.0.2"},
                                                          {"not a url", ""}})
        EXPECT_EQ(LoginWindow::siteOf(url), site) << url;
}

TEST_F(WebFixture, LogInThroughTheLoginWindow) {
    FakeClaude claude;
    AppSettings settings(dir_.file("settings.ini"));
    settings.setEnabled({ProviderID::claude});
    SystemClock clock;
    RecordingNotifier notifier;
    LoginWindow login;
    login.setTiming({.poll = 50ms, .doneShown = 300ms});
    auto session =
        std::make_unique<WebSession>(*context_, claude.host(), claude.origin() + "/settings/usage");
    WebSession& web = *session;
    UsageModel::Providers providers;
    providers[ProviderID::claude] =
        std::make_unique<ClaudeProvider>(std::move(session), *ServiceEndpoint::parse(claude.origin()), clock);
    UsageModel model(settings, std::move(providers), clock, notifier, login);

    model.showLogin(ProviderID::claude);
    ASSERT_TRUE(login.window());
    const std::string loginPage = claude.origin() + "/login";
    auto onLoginPage = [&] {
        const char* uri = webkit_web_view_get_uri(web.webView());
        return uri && uri == loginPage && !webkit_web_view_is_loading(web.webView());
    };
    ASSERT_TRUE(runLoopUntil(onLoginPage, 20s));
    ASSERT_TRUE(runLoopUntil([&] { return gtk_widget_get_mapped(GTK_WIDGET(web.webView())); }, 10s));
    // The window tells where the password goes: the site in the title, the page's address, and that
    // a plain http page is no secure connection.
    EXPECT_EQ(gtk_window_get_title(login.window()), "Log in to " + LoginWindow::siteOf(claude.origin()));
    EXPECT_EQ(login.address(), loginPage);
    EXPECT_EQ(login.security(), "Not secure");
    // While the window shows the page, the page is the user's: a refresh asks nothing of the site.
    LogLines log;
    runSync(model.refresh(ProviderID::claude), 30s);
    EXPECT_TRUE(claude.server().requestsTo("/api/organizations").empty());
    EXPECT_NE(log.text().find("login window is open"), std::string::npos) << log.text();

    submitLoginForm(web.webView());
    ASSERT_TRUE(runLoopUntil([&] { return !claude.issuedSessions().empty(); }, 20s));
    // The address follows the page off the form.
    EXPECT_TRUE(runLoopUntil([&] { return login.address() != loginPage; }, 20s)) << login.address();

    // Once the site is back on its own host with the session cookie, the window says so and closes
    // itself through the usual path, which refreshes the service it showed.
    GtkWidget* done = gtk_widget_get_first_child(gtk_window_get_child(login.window()));
    ASSERT_TRUE(runLoopUntil([&] { return gtk_widget_get_visible(done); }, 20s));
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(done)), "Logged in to Claude");
    ASSERT_TRUE(runLoopUntil([&] { return model.isLoggedIn(ProviderID::claude); }, 30s));
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(login.window())));
    auto resting = [&] {
        const char* uri = webkit_web_view_get_uri(web.webView());
        return uri && uri == claude.origin() + "/robots.txt";
    };
    EXPECT_TRUE(runLoopUntil(resting, 10s)) << "off the site's own pages again once the window is closed";

    // Opened while logged in (to pass a bot check by hand, say), it waits to be closed; a poll
    // meanwhile leaves the page to the user and is no log-out: numbers and login stay, nothing is
    // posted.
    notifier.take();
    const ProviderState before = model.state(ProviderID::claude);
    model.showLogin(ProviderID::claude);
    pump(800ms);
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(login.window())));
    EXPECT_FALSE(gtk_widget_get_visible(done));
    runSync(model.refresh(ProviderID::claude), 30s);
    EXPECT_TRUE(model.isLoggedIn(ProviderID::claude));
    EXPECT_EQ(model.state(ProviderID::claude).status, before.status);
    EXPECT_TRUE(notifier.take().empty());
    gtk_window_close(login.window());
    runSync(model.refresh(ProviderID::claude), 30s); // joins the refresh that closing started

    // The same window serves the next login.
    GtkWindow* first = login.window();
    model.showLogin(ProviderID::claude);
    EXPECT_EQ(login.window(), first);
    // The window's look at the cookie store is still under way as everything goes, store included.
}
