#pragma once
// The tray item: a StatusNotifierItem exported on the session bus with its menu (TrayMenu),
// registered with the desktop's StatusNotifierWatcher, and registered again whenever a watcher
// appears. Without a watcher the app keeps running; it says so once. A click on the item activates
// the application's action "toggle-panel-at" with the item's service and the click's screen
// position, "(sii)" ("" for the plain item; 0, 0 when the host gave no position).

#include "base/gobject_ptr.h"
#include "tray/tray_menu.h"
#include "tray/tray_pixmap.h"

#include <functional>
#include <gio/gio.h>
#include <memory>
#include <string>
#include <vector>

namespace ostrel {

class TrayItem {
  public:
    // Exports on `bus` (the session bus when null) and starts watching for a watcher. `actions` is
    // the application's action group, held for as long as the item lives (null: clicks are only
    // logged). `index` tells apart several items of one process (it ends the bus name).
    TrayItem(GDBusConnection* bus, GActionGroup* actions, int index = 1);
    TrayItem(const TrayItem&) = delete;
    TrayItem& operator=(const TrayItem&) = delete;
    ~TrayItem();

    // Replaces what the item shows and tells the host.
    void update(std::vector<TrayPixmap> pixmaps, std::string title, std::string label);

    // The service whose tab a click opens ("" for none).
    void setService(std::string service) { service_ = std::move(service); }

    bool registered() const { return registered_; }
    const std::string& busName() const { return busName_; }
    // Called after each registration with a watcher (tests and benchmarks wait for it).
    std::function<void()> onRegistered;

  private:
    static void onMethod(GDBusConnection*, const char*, const char*, const char*, const char* method,
                         GVariant* params, GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                   const char* property, GError** error, gpointer self);
    GVariant* property(const std::string& name) const;
    void watch();
    void registerWithWatcher();
    void emit(const char* signal, GVariant* params = nullptr);

    GObjectPtr<GDBusConnection> bus_;
    // Cancelled on destruction, so a reply that arrives later never reaches a dead item.
    GObjectPtr<GCancellable> cancel_ = adopt(g_cancellable_new());
    GObjectPtr<GActionGroup> actions_;
    std::unique_ptr<TrayMenu> menu_;
    std::string busName_;
    guint ownerId_ = 0;
    guint watchId_ = 0;
    guint registration_ = 0;
    bool registered_ = false;
    bool toldNoWatcher_ = false;
    std::vector<TrayPixmap> pixmaps_;
    std::string title_ = "Ostrel";
    std::string label_;
    std::string service_;
    int index_ = 1;
};

} // namespace ostrel
