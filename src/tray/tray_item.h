#pragma once
// The tray item: a StatusNotifierItem exported on the session bus with its menu (TrayMenu),
// registered with the desktop's StatusNotifierWatcher, and kept registered: again whenever a watcher
// appears or its owner changes, when the watcher refuses it (after a growing pause), says it
// unregistered it, or does not list it a moment after taking it (GNOME's extension can lose an item
// it took while its own set-up raced). It registers by its object path, as the common indicator
// library does, so the watcher reads it from the calling connection and never has to look up a
// name. Without a watcher the app keeps running; it says so once. A click on the item activates
// the application's action "toggle-panel-at" with the item's service and the click's screen
// position, "(sii)" ("" for the plain item; 0, 0 when the host gave no position).

#include "async/task_group.h"
#include "base/gobject_ptr.h"
#include "tray/tray_menu.h"
#include "tray/tray_pixmap.h"

#include <chrono>
#include <functional>
#include <gio/gio.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

class TrayItem {
  public:
    // Exports on `bus` (the session bus when null) and starts watching for a watcher. `actions` is
    // the application's action group, held for as long as the item lives (null: clicks are only
    // logged). `index` tells apart several items of one process (it ends the bus name). An item after
    // the first, or one asked to, talks over a connection of its own: hosts know an item by its
    // connection and path, and one that goes must leave the host with its connection.
    TrayItem(GDBusConnection* bus, GActionGroup* actions, int index = 1, bool ownConnection = false);
    TrayItem(const TrayItem&) = delete;
    TrayItem& operator=(const TrayItem&) = delete;
    ~TrayItem();

    // Replaces what the item shows and tells the host.
    void update(std::vector<TrayPixmap> pixmaps, std::string title, std::string label);

    // The service whose tab a click opens ("" for none).
    void setService(std::string service) { service_ = std::move(service); }
    // Put before the title only (not the tooltip), for hosts that sort items by title.
    void setTitlePrefix(std::string prefix) { titlePrefix_ = std::move(prefix); }
    // Holds the registration until `ready()` holds (asked for a few seconds at most): several items
    // register in a chosen order, as hosts that order them by registration show them.
    void registerAfter(std::function<bool()> ready) { registerAfter_ = std::move(ready); }

    bool registered() const { return registered_; }
    // Whether a watcher is on the bus (as far as the bus has said).
    bool watcherPresent() const { return watcherPresent_; }
    const std::string& busName() const { return busName_; }
    // What the item registers: its object path.
    static constexpr const char* path = "/StatusNotifierItem";
    // Called after each registration with a watcher (tests and benchmarks wait for it).
    std::function<void()> onRegistered;

  private:
    static void onMethod(GDBusConnection*, const char*, const char*, const char*, const char* method,
                         GVariant* params, GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                   const char* property, GError** error, gpointer self);
    GVariant* property(const std::string& name) const;
    void watch();
    // Starts registering (after `delay`), dropping a registration already under way.
    void startRegistering(std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    static Task<void> keepRegistered(TrayItem* self, std::chrono::milliseconds delay);
    // Whether the watcher lists this item; none when it cannot tell.
    static Task<std::optional<bool>> listed(TrayItem* self);
    static void onUnregistered(GDBusConnection*, const char*, const char*, const char*, const char*,
                               GVariant* params, gpointer self);
    bool namesMe(const std::string& entry) const;
    void emit(const char* signal, GVariant* params = nullptr);

    GObjectPtr<GDBusConnection> bus_;
    // Cancelled on destruction, so a reply that arrives later never reaches a dead item.
    GObjectPtr<GCancellable> cancel_ = adopt(g_cancellable_new());
    GObjectPtr<GActionGroup> actions_;
    std::unique_ptr<TrayMenu> menu_;
    std::string busName_;
    guint ownerId_ = 0;
    guint watchId_ = 0;
    guint unregisteredId_ = 0;
    guint registration_ = 0;
    bool registered_ = false;
    bool watcherPresent_ = false;
    std::function<bool()> registerAfter_;
    bool toldNoWatcher_ = false;
    std::vector<TrayPixmap> pixmaps_;
    std::string title_ = "Ostrel";
    std::string label_;
    std::string service_;
    std::string titlePrefix_;
    int index_ = 1;
    TaskGroup tasks_; // the registration under way; last, so it goes first
};

} // namespace ostrel
