#pragma once
// A stand-in for the desktop's tray host: owns org.kde.StatusNotifierWatcher on a D-Bus connection
// and records which items registered.

#include "base/gobject_ptr.h"

#include <gio/gio.h>
#include <string>
#include <vector>

namespace ostrel::fake {

class FakeTrayWatcher {
  public:
    struct Registration {
        std::string sender;  // unique bus name of the caller
        std::string service; // what it registered
    };

    explicit FakeTrayWatcher(GDBusConnection* bus);
    FakeTrayWatcher(const FakeTrayWatcher&) = delete;
    FakeTrayWatcher& operator=(const FakeTrayWatcher&) = delete;
    ~FakeTrayWatcher();

    bool owned() const { return owned_; }
    const std::vector<Registration>& registrations() const { return registrations_; }

  private:
    static void onCall(GDBusConnection*, const char* sender, const char*, const char*, const char* method,
                       GVariant* params, GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                   const char* property, GError** error, gpointer self);

    GObjectPtr<GDBusConnection> bus_;
    guint registration_ = 0;
    guint ownerId_ = 0;
    bool owned_ = false;
    std::vector<Registration> registrations_;
};

} // namespace ostrel::fake
