#pragma once
// The window in which the user logs in to a service: a hint bar above the service's own web view
// (the very view its web session uses). One window serves every service, one at a time; closing
// only hides it, and tells the model which service it showed.

#include "base/gobject_ptr.h"
#include "model/login_host.h"

#include <gtk/gtk.h>
#include <optional>

namespace ostrel {

class WebSession;

class LoginWindow final : public LoginHost {
  public:
    LoginWindow() = default;
    LoginWindow(const LoginWindow&) = delete;
    LoginWindow& operator=(const LoginWindow&) = delete;
    ~LoginWindow() override;

    void show(ProviderID id, UsageProvider& provider) override;
    // Shows `session`'s view on `url` for service `id`.
    void show(ProviderID id, WebSession& session, const std::string& url);

    GtkWindow* window() const { return window_; }
    std::optional<ProviderID> current() const { return current_; }

  private:
    void build();
    static gboolean onCloseRequest(GtkWindow*, gpointer self);

    GtkWindow* window_ = nullptr; // owned by GTK's list of toplevels until we destroy it
    GtkWidget* box_ = nullptr;    // the content: hint, then the web view
    GtkWidget* view_ = nullptr;   // the web view shown now (owned by its session)
    std::optional<ProviderID> current_;
    WebSession* session_ = nullptr; // the session shown now (owned by its provider)
};

} // namespace ostrel
