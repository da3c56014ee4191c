#include "fake_notifications.h"

namespace ostrel::fake {

namespace {
const char* introspection = R"(<node>
  <interface name="org.freedesktop.Notifications">
    <method name="GetCapabilities"><arg type="as" direction="out"/></method>
    <method name="Notify">
      <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
      <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
      <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/><arg type="u" direction="out"/>
    </method>
    <method name="GetServerInformation">
      <arg type="s" direction="out"/><arg type="s" direction="out"/><arg type="s" direction="out"/>
      <arg type="s" direction="out"/>
    </method>
  </interface>
</node>)";
} // namespace

FakeNotifications::FakeNotifications(GDBusConnection* bus) : bus_(GObjectPtr<GDBusConnection>::ref(bus)) {
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(introspection, nullptr);
    static const GDBusInterfaceVTable vtable{&FakeNotifications::onCall, nullptr, nullptr, {}};
    registration_ = g_dbus_connection_register_object(bus_.get(), "/org/freedesktop/Notifications",
                                                      node->interfaces[0], &vtable, this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    ownerId_ = g_bus_own_name_on_connection(
        bus_.get(), "org.freedesktop.Notifications", G_BUS_NAME_OWNER_FLAGS_NONE,
        [](GDBusConnection*, const char*, gpointer self) {
            static_cast<FakeNotifications*>(self)->owned_ = true;
        },
        nullptr, this, nullptr);
}

FakeNotifications::~FakeNotifications() {
    if (ownerId_) g_bus_unown_name(ownerId_);
    if (registration_) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

void FakeNotifications::onCall(GDBusConnection*, const char*, const char*, const char*, const char* method,
                               GVariant* params, GDBusMethodInvocation* invocation, gpointer data) {
    auto* self = static_cast<FakeNotifications*>(data);
    const std::string name = method;
    if (name == "GetCapabilities") {
        ++self->capabilityQueries_;
        const char* caps[] = {"body", "sound", "actions", nullptr};
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(^as)", caps));
    } else if (name == "GetServerInformation") {
        g_dbus_method_invocation_return_value(invocation,
                                              g_variant_new("(ssss)", "fake", "ostrel", "1", "1.2"));
    } else if (name == "Notify") {
        const char *app = nullptr, *icon = nullptr, *summary = nullptr, *body = nullptr;
        guint32 replaces = 0;
        gint32 timeout = 0;
        GVariantIter* actions = nullptr;
        GVariant* hints = nullptr;
        g_variant_get(params, "(&su&s&s&sas@a{sv}i)", &app, &replaces, &icon, &summary, &body, &actions,
                      &hints, &timeout);
        // As the freedesktop protocol has it: a replacing notification keeps the id it replaces.
        Notification n{app, replaces, summary, body, {}, icon, {}, {}, replaces ? replaces : self->nextId_++};
        for (const char* action = nullptr; g_variant_iter_next(actions, "&s", &action);)
            n.actions.emplace_back(action);
        const char *sound = nullptr, *entry = nullptr;
        if (g_variant_lookup(hints, "sound-name", "&s", &sound)) n.soundName = sound;
        if (g_variant_lookup(hints, "desktop-entry", "&s", &entry)) n.desktopEntry = entry;
        g_variant_iter_free(actions);
        g_variant_unref(hints);
        self->received_.push_back(n);
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(u)", n.id));
    } else {
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.UnknownMethod",
                                                   method);
    }
}

void FakeNotifications::invoke(unsigned id, const std::string& actionKey) {
    g_dbus_connection_emit_signal(bus_.get(), nullptr, "/org/freedesktop/Notifications",
                                  "org.freedesktop.Notifications", "ActionInvoked",
                                  g_variant_new("(us)", id, actionKey.c_str()), nullptr);
}

} // namespace ostrel::fake
