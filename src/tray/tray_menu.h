#pragma once
// The tray item's menu, served as com.canonical.dbusmenu: "Open Ostrel", "Refresh" and "Quit Ostrel".
// Some hosts (GNOME's extension) show no item without one, and open it on a left click. A click on
// an entry activates the application's action of the same meaning: "open-panel", "refresh", "quit".

#include "base/gobject_ptr.h"

#include <gio/gio.h>
#include <string>

namespace ostrel {

class TrayMenu {
  public:
    // The object path hosts find in the item's Menu property.
    static constexpr const char* path = "/Menu";

    // Exports the menu on `bus`; `actions` is held for as long as the menu lives.
    TrayMenu(GDBusConnection* bus, GActionGroup* actions);
    TrayMenu(const TrayMenu&) = delete;
    TrayMenu& operator=(const TrayMenu&) = delete;
    ~TrayMenu();

  private:
    static void onMethod(GDBusConnection*, const char*, const char*, const char*, const char* method,
                         GVariant* params, GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                   const char* property, GError** error, gpointer self);
    void call(const std::string& method, GVariant* params, GDBusMethodInvocation* invocation);

    GObjectPtr<GDBusConnection> bus_;
    GObjectPtr<GActionGroup> actions_;
    guint registration_ = 0;
};

} // namespace ostrel
