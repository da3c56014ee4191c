#include "web/login_window.h"

#include "async/loop.h"
#include "base/log.h"
#include "web/web_session.h"

namespace ostrel {

namespace {

constexpr const char* hintCss = R"(
.login-hint { background-color: rgba(0, 122, 255, 0.12); padding: 12px 14px; }
.login-hint-line { background-color: rgba(0, 122, 255, 0.25); min-height: 1px; }
.login-hint image { color: rgb(0, 122, 255); }
.login-done { background-color: rgba(52, 199, 89, 0.18); padding: 10px 14px; font-weight: 600; }
.login-address { padding: 6px 8px; }
.login-address .insecure { color: @error_color; font-weight: 600; }
)";

struct GUriDeleter {
    void operator()(GUri* u) const { g_uri_unref(u); }
};

std::string hostOf(const char* url) {
    if (!url || !*url) return {};
    std::unique_ptr<GUri, GUriDeleter> uri(g_uri_parse(url, G_URI_FLAGS_NONE, nullptr));
    const char* host = uri ? g_uri_get_host(uri.get()) : nullptr;
    return host ? host : "";
}

GtkWidget* makeHint() {
    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    gtk_widget_add_css_class(row, "login-hint");
    gtk_widget_set_hexpand(row, TRUE);

    GtkWidget* icon = gtk_image_new_from_icon_name("dialog-information-symbolic");
    gtk_image_set_pixel_size(GTK_IMAGE(icon), 15);
    gtk_widget_set_valign(icon, GTK_ALIGN_START);
    gtk_box_append(GTK_BOX(row), icon);

    GtkWidget* text = gtk_label_new(nullptr);
    gtk_label_set_markup(GTK_LABEL(text),
                         "Using Google? If you see a passkey or Bluetooth error, choose <b>Try "
                         "another way</b>. Logging in with email also works.");
    gtk_label_set_wrap(GTK_LABEL(text), TRUE);
    gtk_label_set_lines(GTK_LABEL(text), -1);
    gtk_label_set_width_chars(GTK_LABEL(text), 20);
    gtk_label_set_xalign(GTK_LABEL(text), 0);
    gtk_widget_set_hexpand(text, TRUE);
    gtk_widget_set_valign(text, GTK_ALIGN_START);
    gtk_box_append(GTK_BOX(row), text);
    return row;
}

} // namespace

// A login left open this long is not going to finish by itself; the window stays for the user.
constexpr auto loginWatchLimit = std::chrono::minutes(30);

LoginWindow::~LoginWindow() {
    tasks_.cancelAll(); // the watch must not resume into a window being taken apart
    if (!window_) return;
    // The web view belongs to its session: take it out before the window goes, and stop following
    // it while our box still keeps it alive.
    uriChanged_.disconnect();
    loadChanged_.disconnect();
    if (view_) gtk_box_remove(GTK_BOX(box_), view_);
    gtk_window_destroy(window_);
}

void LoginWindow::build() {
    window_ = GTK_WINDOW(gtk_window_new());
    gtk_window_set_default_size(window_, 480, 680);
    gtk_window_set_resizable(window_, TRUE);
    gtk_window_set_hide_on_close(window_, TRUE);
    g_signal_connect(window_, "close-request", G_CALLBACK(&LoginWindow::onCloseRequest), this);

    GObjectPtr<GtkCssProvider> css = adopt(gtk_css_provider_new());
    gtk_css_provider_load_from_data(css.get(), hintCss, -1);
    gtk_style_context_add_provider_for_display(gtk_widget_get_display(GTK_WIDGET(window_)),
                                               GTK_STYLE_PROVIDER(css.get()),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);

    box_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    done_ = gtk_label_new(nullptr);
    gtk_widget_add_css_class(done_, "login-done");
    gtk_widget_set_visible(done_, FALSE);
    gtk_box_append(GTK_BOX(box_), done_);

    GtkWidget* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_widget_add_css_class(bar, "login-address");
    lock_ = gtk_image_new();
    gtk_box_append(GTK_BOX(bar), lock_);
    security_ = gtk_label_new("Not secure");
    gtk_widget_add_css_class(security_, "insecure");
    gtk_box_append(GTK_BOX(bar), security_);
    address_ = gtk_entry_new();
    gtk_editable_set_editable(GTK_EDITABLE(address_), FALSE); // shown to read and copy, not to go
    gtk_widget_set_hexpand(address_, TRUE);
    gtk_accessible_update_property(GTK_ACCESSIBLE(address_), GTK_ACCESSIBLE_PROPERTY_LABEL, "Address", -1);
    gtk_box_append(GTK_BOX(bar), address_);
    gtk_box_append(GTK_BOX(box_), bar);

    gtk_box_append(GTK_BOX(box_), makeHint());
    GtkWidget* line = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0); // the hint's 1-point bottom edge
    gtk_widget_add_css_class(line, "login-hint-line");
    gtk_box_append(GTK_BOX(box_), line);
    gtk_window_set_child(window_, box_);
}

void LoginWindow::release() {
    tasks_.cancelAll(); // the login watch reads the session that is about to go
    session_ = nullptr;
    current_.reset();
    if (window_) gtk_widget_set_visible(GTK_WIDGET(window_), FALSE);
}

bool LoginWindow::isShowing(ProviderID id) const {
    return window_ && current_ == id && gtk_widget_get_visible(GTK_WIDGET(window_));
}

void LoginWindow::show(ProviderID id, UsageProvider& provider) {
    auto* session = dynamic_cast<WebSession*>(&provider.web());
    if (!session) {
        log(std::string(displayName(id)) + " has no web page to log in on");
        return;
    }
    show(id, *session, provider.loginURL(), provider.sessionCookieName());
}

void LoginWindow::show(ProviderID id, WebSession& session, const std::string& url,
                       std::string sessionCookie) {
    if (!window_) build();
    const std::string name(displayName(id));
    log("Opening login window for " + name);
    current_ = id;
    const std::string site = siteOf(url);
    gtk_window_set_title(window_, ("Log in to " + (site.empty() ? name : site)).c_str());

    GtkWidget* view = GTK_WIDGET(session.webView());
    if (view_ != view) {
        uriChanged_.disconnect();
        loadChanged_.disconnect();
        if (view_) gtk_box_remove(GTK_BOX(box_), view_);
        view_ = view;
        gtk_widget_set_hexpand(view_, TRUE);
        gtk_widget_set_vexpand(view_, TRUE);
        gtk_box_append(GTK_BOX(box_), view_);
        watchAddress();
    }
    session_ = &session;
    gtk_widget_set_visible(done_, FALSE);
    tasks_.cancelAll();
    if (!sessionCookie.empty())
        tasks_.spawn(closeWhenLoggedIn(this, &session, std::move(sessionCookie), name));
    session.load(url);
    // GTK cannot place a window itself; the window manager centres new windows on most desktops.
    gtk_window_present(window_);
    gtk_widget_grab_focus(view_); // the keys go to the page's form, not to the address line
}

Task<void> LoginWindow::closeWhenLoggedIn(LoginWindow* self, WebSession* session, std::string cookie,
                                          std::string name) {
    // Opened while already logged in (to pass a site's bot check by hand, say): the cookie is
    // there from the start, and closing at once would take the page away from the user.
    try {
        if (co_await session->hasCookie(cookie)) co_return;
    } catch (const std::exception&) {
        co_return; // the store cannot tell; the user closes the window
    }
    const auto polls = loginWatchLimit / self->timing_.poll;
    for (long i = 0; i < polls; ++i) {
        co_await sleepFor(self->timing_.poll);
        if (!gtk_widget_get_visible(GTK_WIDGET(self->window_))) co_return;
        if (!session->landedOnSite()) continue; // still on the form or a sign-in provider's page
        bool loggedIn = false;
        try {
            loggedIn = co_await session->hasCookie(cookie);
        } catch (const std::exception&) {
            continue; // a slow store this time; look again at the next poll
        }
        if (!loggedIn) continue;
        session->log("Login finished in the login window");
        gtk_label_set_text(GTK_LABEL(self->done_), ("Logged in to " + name).c_str());
        gtk_widget_set_visible(self->done_, TRUE);
        co_await sleepFor(self->timing_.doneShown);
        // The usual close path, so the refresh follows at once.
        if (gtk_widget_get_visible(GTK_WIDGET(self->window_))) gtk_window_close(self->window_);
        co_return;
    }
}

std::string LoginWindow::siteOf(const std::string& url) {
    std::string host = hostOf(url.c_str());
    if (host.starts_with("www.")) host.erase(0, 4);
    return host;
}

void LoginWindow::watchAddress() {
    const auto follow =
        +[](GObject*, GParamSpec*, gpointer self) { static_cast<LoginWindow*>(self)->updateAddress(); };
    const auto loaded = +[](WebKitWebView*, WebKitLoadEvent, gpointer self) {
        static_cast<LoginWindow*>(self)->updateAddress(); // the certificate is known once committed
    };
    uriChanged_ = SignalConnection(view_, g_signal_connect(view_, "notify::uri", G_CALLBACK(follow), this));
    loadChanged_ = SignalConnection(view_, g_signal_connect(view_, "load-changed", G_CALLBACK(loaded), this));
    updateAddress();
}

void LoginWindow::updateAddress() {
    if (!view_) return;
    auto* view = WEBKIT_WEB_VIEW(view_);
    const char* uri = webkit_web_view_get_uri(view);
    gtk_editable_set_text(GTK_EDITABLE(address_), uri ? uri : "");
    // Secure: the page came over TLS and its certificate had no fault. A plain http page, or one
    // whose certificate the engine let through with errors, is not.
    GTlsCertificate* certificate = nullptr;
    GTlsCertificateFlags errors = G_TLS_CERTIFICATE_NO_FLAGS;
    const bool secure = uri && g_str_has_prefix(uri, "https://") &&
                        webkit_web_view_get_tls_info(view, &certificate, &errors) && certificate &&
                        errors == G_TLS_CERTIFICATE_NO_FLAGS;
    gtk_image_set_from_icon_name(GTK_IMAGE(lock_),
                                 secure ? "channel-secure-symbolic" : "channel-insecure-symbolic");
    const char* said = secure ? "Secure connection" : "Not secure";
    gtk_widget_set_tooltip_text(lock_, said);
    gtk_accessible_update_property(GTK_ACCESSIBLE(lock_), GTK_ACCESSIBLE_PROPERTY_LABEL, said, -1);
    gtk_widget_set_visible(security_, !secure && uri && *uri);
}

std::string LoginWindow::address() const {
    return address_ ? gtk_editable_get_text(GTK_EDITABLE(address_)) : "";
}

std::string LoginWindow::security() const {
    const char* said = lock_ ? gtk_widget_get_tooltip_text(lock_) : nullptr;
    return said ? said : "";
}

gboolean LoginWindow::onCloseRequest(GtkWindow*, gpointer data) {
    auto* self = static_cast<LoginWindow*>(data);
    // Hide first: the refresh that closing starts must not find the view still on screen.
    gtk_widget_set_visible(GTK_WIDGET(self->window_), FALSE);
    if (self->session_) self->session_->rest(); // off the site's heavy page again
    if (self->current_ && self->onClose) self->onClose(*self->current_);
    return TRUE; // handled: the window is kept for the next login
}

} // namespace ostrel
