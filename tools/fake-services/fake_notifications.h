#pragma once
// A stand-in for the desktop's notification service on a D-Bus connection: it owns
// org.freedesktop.Notifications and records every call. A test plays the user with invoke(), which
// sends the ActionInvoked signal a click on a notification or one of its buttons sends.

#include "base/gobject_ptr.h"

#include <gio/gio.h>
#include <string>
#include <vector>

namespace ostrel::fake {

class FakeNotifications {
  public:
    struct Notification {
        std::string appName;
        unsigned replacesId = 0;
        std::string summary;
        std::string body;
        std::string soundName;
        std::string appIcon;
        std::string desktopEntry;
        std::vector<std::string> actions; // key, label, key, label, ...
        unsigned id = 0;                  // the id we handed back (the replaced one's, when replacing)
    };

    explicit FakeNotifications(GDBusConnection* bus);
    FakeNotifications(const FakeNotifications&) = delete;
    FakeNotifications& operator=(const FakeNotifications&) = delete;
    ~FakeNotifications();

    // True once the bus confirmed the name is ours.
    bool owned() const { return owned_; }
    const std::vector<Notification>& received() const { return received_; }
    int capabilityQueries() const { return capabilityQueries_; }
    // The user clicks notification `id` (action "default") or one of its buttons.
    void invoke(unsigned id, const std::string& actionKey);

  private:
    static void onCall(GDBusConnection*, const char*, const char*, const char*, const char* method,
                       GVariant* params, GDBusMethodInvocation* invocation, gpointer self);

    GObjectPtr<GDBusConnection> bus_;
    guint registration_ = 0;
    guint ownerId_ = 0;
    bool owned_ = false;
    std::vector<Notification> received_;
    int capabilityQueries_ = 0;
    unsigned nextId_ = 1;
};

} // namespace ostrel::fake
