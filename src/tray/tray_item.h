#pragma once
// The tray item: a TrayItem exported on the session bus with a small menu, registered with
// the desktop's StatusNotifierWatcher, and registered again whenever a watcher appears. Without a
// watcher the app keeps running; it says so once.

#include "base/gobject_ptr.h"

#include <cairo.h>
#include <functional>
#include <gio/gio.h>
#include <string>
#include <vector>

namespace ostrel {

class TrayItem {
  public:
    struct Actions {
        std::function<void(int x, int y)> activate; // left click (x, y: screen position, may be 0)
        std::function<void()> refresh;
        std::function<void()> quit;
    };
    // One picture of the item in ARGB32, network byte order, not premultiplied.
    struct Pixmap {
        int width = 0;
        int height = 0;
        std::vector<unsigned char> argb;
    };

    // Exports on `bus` (the session bus when null) and starts watching for a watcher. `index`
    // tells apart several items of one process (it ends the bus name).
    TrayItem(GDBusConnection* bus, Actions actions, int index = 1);
    TrayItem(const TrayItem&) = delete;
    TrayItem& operator=(const TrayItem&) = delete;
    ~TrayItem();

    // Replaces what the item shows and tells the host.
    void update(std::vector<Pixmap> pixmaps, std::string title, std::string label);

    bool registered() const { return registered_; }
    const std::string& busName() const { return busName_; }
    // Called after each registration with a watcher (tests and benchmarks wait for it).
    std::function<void()> onRegistered;

    // Converts a Cairo ARGB32 surface (native endian, premultiplied) to a pixmap.
    static Pixmap fromSurface(cairo_surface_t* surface);

  private:
    static void onMethod(GDBusConnection*, const char*, const char* path, const char* iface,
                         const char* method, GVariant* params, GDBusMethodInvocation* invocation,
                         gpointer self);
    static GVariant* onGetProperty(GDBusConnection*, const char*, const char* path, const char* iface,
                                   const char* property, GError** error, gpointer self);
    GVariant* itemProperty(const std::string& name) const;
    GVariant* menuProperty(const std::string& name) const;
    void menuMethod(const std::string& method, GVariant* params, GDBusMethodInvocation* invocation);
    void registerWithWatcher();
    void emit(const char* signal, GVariant* params = nullptr);

    GObjectPtr<GDBusConnection> bus_;
    // Cancelled on destruction, so a reply that arrives later never reaches a dead item.
    GObjectPtr<GCancellable> cancel_ = adopt(g_cancellable_new());
    Actions actions_;
    std::string busName_;
    guint ownerId_ = 0;
    guint watchId_ = 0;
    guint itemRegistration_ = 0;
    guint menuRegistration_ = 0;
    bool registered_ = false;
    bool toldNoWatcher_ = false;
    std::vector<Pixmap> pixmaps_;
    std::string title_ = "Ostrel";
    std::string label_;
    unsigned menuRevision_ = 1;
    int index_ = 1;
};

} // namespace ostrel
