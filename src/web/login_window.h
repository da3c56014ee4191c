#pragma once
// The window in which the user logs in to a service: a hint bar above the service's own web view
// (the very view its web session uses). One window serves every service, one at a time; closing
// only hides it, and tells the model which service it showed. When a login completes in it (the
// session cookie appears and the page is back on the service's host) it says so and closes itself.
// Like a browser it tells where the password goes: the title names the site ("Log in to claude.ai"),
// and a read-only address line shows the page's address and whether the connection is secure, as
// the page moves (to a sign-in provider, say).

#include "async/task.h"
#include "async/task_group.h"
#include "base/gobject_ptr.h"
#include "model/login_host.h"

#include <chrono>
#include <gtk/gtk.h>
#include <optional>
#include <string>

namespace ostrel {

class WebSession;

class LoginWindow final : public LoginHost {
  public:
    LoginWindow() = default;
    LoginWindow(const LoginWindow&) = delete;
    LoginWindow& operator=(const LoginWindow&) = delete;
    ~LoginWindow() override;

    void show(ProviderID id, UsageProvider& provider) override;
    void release() override;
    bool isShowing(ProviderID id) const override;
    // Shows `session`'s view on `url` for service `id`; `sessionCookie` names the cookie whose
    // arrival means the user has logged in (empty: the window waits to be closed by hand).
    void show(ProviderID id, WebSession& session, const std::string& url, std::string sessionCookie = {});

    // How often the window looks for a finished login, and how long "Logged in" stays before it
    // closes; tests shorten them.
    struct Timing {
        std::chrono::milliseconds poll{1000};
        std::chrono::milliseconds doneShown{1500};
    };
    void setTiming(Timing timing) { timing_ = timing; }

    GtkWindow* window() const { return window_; }
    // What the address line shows: the page's address, and "Secure connection" or "Not secure".
    std::string address() const;
    std::string security() const;
    // The site a login URL belongs to, as the title names it: its host without "www.".
    static std::string siteOf(const std::string& url);
    std::optional<ProviderID> current() const { return current_; }

  private:
    void build();
    static gboolean onCloseRequest(GtkWindow*, gpointer self);
    // Follows the shown view's address and connection into the address line.
    void watchAddress();
    void updateAddress();
    static Task<void> closeWhenLoggedIn(LoginWindow* self, WebSession* session, std::string cookie,
                                        std::string name);

    GtkWindow* window_ = nullptr; // owned by GTK's list of toplevels until we destroy it
    GtkWidget* box_ = nullptr;    // the content: hint, then the web view
    GtkWidget* view_ = nullptr;   // the web view shown now (owned by its session)
    std::optional<ProviderID> current_;
    WebSession* session_ = nullptr; // the session shown now (owned by its provider)
    GtkWidget* done_ = nullptr;     // "Logged in to <Name>", shown just before closing
    GtkWidget* address_ = nullptr;  // read-only entry with the page's address
    GtkWidget* lock_ = nullptr;     // the connection's padlock, open or closed
    GtkWidget* security_ = nullptr; // "Not secure" beside an open padlock
    SignalConnection uriChanged_;   // on the shown view
    SignalConnection loadChanged_;
    Timing timing_;
    TaskGroup tasks_; // the login watch; last, so it ends before the widgets it touches
};

} // namespace ostrel
