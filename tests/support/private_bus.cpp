#include "support/private_bus.h"

#include "async/bounded_call.h"

#include <string>

namespace ostrel::test {

PrivateBus::PrivateBus() : bus_(adopt(g_test_dbus_new(G_TEST_DBUS_NONE))) {
    // Bringing the bus up unsets DISPLAY (against X11 bus autolaunch); programs started from the
    // test, the web engine's processes among them, still need it.
    const char* display = g_getenv("DISPLAY");
    const std::string keep = display ? display : "";
    g_test_dbus_up(bus_.get());
    if (!keep.empty()) g_setenv("DISPLAY", keep.c_str(), TRUE);
}

PrivateBus::~PrivateBus() {
    g_test_dbus_down(bus_.get());
}

GObjectPtr<GDBusConnection> PrivateBus::connect() const {
    return adopt(g_dbus_connection_new_for_address_sync(
        address(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
}

Task<GVariantPtr> busCall(GDBusConnection* from, std::string busName, std::string path, std::string iface,
                          std::string method, GVariant* params) {
    auto res = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) {
            g_dbus_connection_call(from, busName.c_str(), path.c_str(), iface.c_str(), method.c_str(), params,
                                   nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, c, cb, ud);
        },
        std::chrono::seconds(6));
    co_return GVariantPtr(g_dbus_connection_call_finish(from, res.result.get(), nullptr));
}

Task<std::string> trayItemProperty(GDBusConnection* host, std::string busName, std::string property) {
    const GVariantPtr reply =
        co_await busCall(host, busName, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                         g_variant_new("(ss)", "org.kde.StatusNotifierItem", property.c_str()));
    if (!reply) co_return "";
    GVariant* inner = nullptr;
    g_variant_get(reply.get(), "(v)", &inner);
    std::string value = g_variant_get_string(inner, nullptr);
    g_variant_unref(inner);
    co_return value;
}

} // namespace ostrel::test
