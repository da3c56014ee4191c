#include "fake_tray_watcher.h"

#include <algorithm>
#include <cstring>
#include <optional>

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
    <signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
  </interface>
</node>)xml";

constexpr const char* watcherInterface = "org.kde.StatusNotifierWatcher";
} // namespace

FakeTrayWatcher::FakeTrayWatcher(GDBusConnection* bus) : bus_(GObjectPtr<GDBusConnection>::ref(bus)) {
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(introspection, nullptr);
    static const GDBusInterfaceVTable vtable{
        &FakeTrayWatcher::onCall, &FakeTrayWatcher::onGetProperty, nullptr, {}};
    registration_ = g_dbus_connection_register_object(bus_.get(), "/StatusNotifierWatcher",
                                                      node->interfaces[0], &vtable, this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    ownersId_ = g_dbus_connection_signal_subscribe(bus_.get(), "org.freedesktop.DBus", "org.freedesktop.DBus",
                                                   "NameOwnerChanged", "/org/freedesktop/DBus", nullptr,
                                                   G_DBUS_SIGNAL_FLAGS_NONE, &FakeTrayWatcher::onOwnerChanged,
                                                   this, nullptr);
    ownerId_ = g_bus_own_name_on_connection(
        bus_.get(), watcherInterface, G_BUS_NAME_OWNER_FLAGS_NONE,
        [](GDBusConnection*, const char*, gpointer self) {
            static_cast<FakeTrayWatcher*>(self)->owned_ = true;
        },
        nullptr, this, nullptr);
}

FakeTrayWatcher::~FakeTrayWatcher() {
    if (ownersId_) g_dbus_connection_signal_unsubscribe(bus_.get(), ownersId_);
    if (ownerId_) g_bus_unown_name(ownerId_);
    if (registration_) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

void FakeTrayWatcher::drop(const std::string& entry) {
    const auto gone = std::remove_if(items_.begin(), items_.end(),
                                     [&](const Registration& r) { return r.entry() == entry; });
    if (gone == items_.end()) return;
    items_.erase(gone, items_.end());
    g_dbus_connection_emit_signal(bus_.get(), nullptr, "/StatusNotifierWatcher", watcherInterface,
                                  "StatusNotifierItemUnregistered", g_variant_new("(s)", entry.c_str()),
                                  nullptr);
}

void FakeTrayWatcher::onOwnerChanged(GDBusConnection*, const char*, const char*, const char*, const char*,
                                     GVariant* params, gpointer data) {
    const char *name = nullptr, *oldOwner = nullptr, *newOwner = nullptr;
    g_variant_get(params, "(&s&s&s)", &name, &oldOwner, &newOwner);
    if (*newOwner) return;
    auto* self = static_cast<FakeTrayWatcher*>(data);
    std::vector<std::string> entries;
    for (const auto& r : self->items_)
        if (r.busName == name) entries.push_back(r.entry());
    for (const auto& e : entries)
        self->drop(e);
}

void FakeTrayWatcher::onCall(GDBusConnection*, const char* sender, const char*, const char*,
                             const char* method, GVariant* params, GDBusMethodInvocation* invocation,
                             gpointer data) {
    auto* self = static_cast<FakeTrayWatcher*>(data);
    const char* service = nullptr;
    g_variant_get(params, "(&s)", &service);
    if (std::strcmp(method, "RegisterStatusNotifierItem") != 0) {
        g_dbus_method_invocation_return_value(invocation, nullptr);
        return;
    }
    Registration r{sender ? sender : "", service, service, "/StatusNotifierItem"};
    if (service[0] == '/') {
        r.busName = r.sender;
        r.path = service;
    }
    self->registrations_.push_back(r);
    std::optional<Fault> fault;
    if (!self->faults_.empty()) {
        fault = self->faults_.front();
        self->faults_.erase(self->faults_.begin());
    }
    if (fault == Fault::refuse) {
        g_dbus_method_invocation_return_dbus_error(invocation, "org.kde.StatusNotifierWatcher.Error.Refused",
                                                   "not now");
        return;
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
    if (fault == Fault::loseQuietly) return;
    const bool known = std::any_of(self->items_.begin(), self->items_.end(),
                                   [&](const Registration& kept) { return kept.entry() == r.entry(); });
    if (known) return; // as real watchers do: it keeps its place
    self->items_.push_back(r);
    g_dbus_connection_emit_signal(self->bus_.get(), nullptr, "/StatusNotifierWatcher", watcherInterface,
                                  "StatusNotifierItemRegistered", g_variant_new("(s)", r.entry().c_str()),
                                  nullptr);
    if (fault == Fault::lose) self->drop(r.entry());
}

GVariant* FakeTrayWatcher::onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                         const char* property, GError**, gpointer data) {
    auto* self = static_cast<FakeTrayWatcher*>(data);
    if (std::strcmp(property, "ProtocolVersion") == 0) return g_variant_new_int32(0);
    if (std::strcmp(property, "IsStatusNotifierHostRegistered") == 0) return g_variant_new_boolean(TRUE);
    GVariantBuilder b;
    g_variant_builder_init(&b, G_VARIANT_TYPE_STRING_ARRAY);
    for (const auto& r : self->items_)
        g_variant_builder_add(&b, "s", r.entry().c_str());
    return g_variant_builder_end(&b);
}

} // namespace ostrel::fake
