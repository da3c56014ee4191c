// The web engine on its own, for comparison with the app's memory: a GTK process holding three
// hidden, related web views of a one-line page, and nothing of ours. The app benchmark starts it
// and measures it exactly as it measures the app; it runs until it is killed.
#include "base/gobject_ptr.h"

#include <gtk/gtk.h>
#include <vector>
#include <webkit/webkit.h>

using namespace ostrel;

int main() {
    gtk_init();
    GObjectPtr<WebKitNetworkSession> network = adopt(webkit_network_session_new_ephemeral());
    std::vector<GObjectPtr<WebKitWebView>> views;
    for (int i = 0; i < 3; ++i) {
        auto* widget = views.empty()
                           ? g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", network.get(), nullptr)
                           : g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", views.front().get(), nullptr);
        views.push_back(adopt(WEBKIT_WEB_VIEW(g_object_ref_sink(widget))));
        webkit_web_view_load_html(views.back().get(), "<!doctype html><p>floor</p>", "http://127.0.0.1/");
    }
    for (;;)
        g_main_context_iteration(nullptr, TRUE);
}
