#include "fake_tray_watcher.h"

#include <cstring>

namespace ostrel::fake {

namespace {
const char* introspection = R"xml(<node>
  <interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
    <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <property name="ProtocolVersion" type="i" access="read"/>
    <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  </interface>
</node>)xml";
} // namespace

FakeTrayWatcher::FakeTrayWatcher(GDBusConnection* bus) : bus_(GObjectPtr<GDBusConnection>::ref(bus)) {
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(introspection, nullptr);
    static const GDBusInterfaceVTable vtable{
        &FakeTrayWatcher::onCall, &FakeTrayWatcher::onGetProperty, nullptr, {}};
    registration_ = g_dbus_connection_register_object(bus_.get(), "/StatusNotifierWatcher",
                                                      node->interfaces[0], &vtable, this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    ownerId_ = g_bus_own_name_on_connection(
        bus_.get(), "org.kde.StatusNotifierWatcher", G_BUS_NAME_OWNER_FLAGS_NONE,
        [](GDBusConnection*, const char*, gpointer self) {
            static_cast<FakeTrayWatcher*>(self)->owned_ = true;
        },
        nullptr, this, nullptr);
}

FakeTrayWatcher::~FakeTrayWatcher() {
    if (ownerId_) g_bus_unown_name(ownerId_);
    if (registration_) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

void FakeTrayWatcher::onCall(GDBusConnection*, const char* sender, const char*, const char*,
                             const char* method, GVariant* params, GDBusMethodInvocation* invocation,
                             gpointer data) {
    auto* self = static_cast<FakeTrayWatcher*>(data);
    const char* service = nullptr;
    g_variant_get(params, "(&s)", &service);
    if (std::strcmp(method, "RegisterStatusNotifierItem") == 0) {
        self->registrations_.push_back({sender ? sender : "", service});
        g_dbus_connection_emit_signal(self->bus_.get(), nullptr, "/StatusNotifierWatcher",
                                      "org.kde.StatusNotifierWatcher", "StatusNotifierItemRegistered",
                                      g_variant_new("(s)", service), nullptr);
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

GVariant* FakeTrayWatcher::onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                         const char* property, GError**, gpointer data) {
    auto* self = static_cast<FakeTrayWatcher*>(data);
    if (std::strcmp(property, "ProtocolVersion") == 0) return g_variant_new_int32(0);
    if (std::strcmp(property, "IsStatusNotifierHostRegistered") == 0) return g_variant_new_boolean(TRUE);
    GVariantBuilder b;
    g_variant_builder_init(&b, G_VARIANT_TYPE_STRING_ARRAY);
    for (const auto& r : self->registrations_)
        g_variant_builder_add(&b, "s", r.service.c_str());
    return g_variant_builder_end(&b);
}

} // namespace ostrel::fake
