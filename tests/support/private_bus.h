#pragma once
// A private D-Bus session bus for one test, with as many connections to it as the test needs (the
// app's, a desktop service's), torn down with the test.

#include "async/task.h"
#include "base/gobject_ptr.h"

#include <gio/gio.h>
#include <string>

namespace ostrel::test {

class PrivateBus {
  public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const char* address() const { return g_test_dbus_get_bus_address(bus_.get()); }
    // A new connection to the bus (a party of its own, with its own unique name).
    GObjectPtr<GDBusConnection> connect() const;

  private:
    GObjectPtr<GTestDBus> bus_;
};

// A method call from another party on the bus (a tray host, say); null when there is no answer.
Task<GVariantPtr> busCall(GDBusConnection* from, std::string busName, std::string path, std::string iface,
                          std::string method, GVariant* params);

// A string property of the tray item exported by `busName`, as a tray host reads it; "" when the
// item does not answer.
Task<std::string> trayItemProperty(GDBusConnection* host, std::string busName, std::string property);

} // namespace ostrel::test
