#pragma once
// A stand-in for the desktop's tray host: owns org.kde.StatusNotifierWatcher on a D-Bus connection,
// records which items registered and lists the ones it keeps, as real watchers do: an item that
// registers by object path is the caller's unique name with that path, one that registers by name
// is that name at /StatusNotifierItem; an item whose connection leaves the bus is dropped with
// StatusNotifierItemUnregistered. It can be told to misbehave on the next registrations, as hosts
// do: refuse them, or take them and lose them (with or without saying so).

#include "base/gobject_ptr.h"

#include <gio/gio.h>
#include <string>
#include <vector>

namespace ostrel::fake {

class FakeTrayWatcher {
  public:
    struct Registration {
        std::string sender;  // unique bus name of the caller
        std::string service; // what it registered: a bus name or an object path
        std::string busName; // where the item is: the service, or the sender for a path
        std::string path;    // the item's object path
        // How a watcher lists it: bus name and path.
        std::string entry() const { return busName + path; }
    };
    enum class Fault {
        refuse,      // answers an error
        loseQuietly, // answers success, never lists it, says nothing
        lose,        // answers success, then drops it with StatusNotifierItemUnregistered
    };

    explicit FakeTrayWatcher(GDBusConnection* bus);
    FakeTrayWatcher(const FakeTrayWatcher&) = delete;
    FakeTrayWatcher& operator=(const FakeTrayWatcher&) = delete;
    ~FakeTrayWatcher();

    bool owned() const { return owned_; }
    // Every registration received, in order.
    const std::vector<Registration>& registrations() const { return registrations_; }
    // The items it keeps (what RegisteredStatusNotifierItems lists), oldest first.
    const std::vector<Registration>& items() const { return items_; }
    // The next `count` registrations meet `fault`.
    void failNext(Fault fault, int count = 1) { faults_.insert(faults_.end(), count, fault); }

  private:
    static void onCall(GDBusConnection*, const char* sender, const char*, const char*, const char* method,
                       GVariant* params, GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                   const char* property, GError** error, gpointer self);
    static void onOwnerChanged(GDBusConnection*, const char*, const char*, const char*, const char*,
                               GVariant* params, gpointer self);
    void drop(const std::string& entry);

    GObjectPtr<GDBusConnection> bus_;
    guint registration_ = 0;
    guint ownerId_ = 0;
    guint ownersId_ = 0;
    bool owned_ = false;
    std::vector<Registration> registrations_;
    std::vector<Registration> items_;
    std::vector<Fault> faults_;
};

} // namespace ostrel::fake
