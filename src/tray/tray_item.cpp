#include "tray/tray_item.h"

#include <cstdio>
#include <unistd.h>

namespace ostrel {

namespace {

constexpr const char* itemPath = "/StatusNotifierItem";
constexpr const char* menuPath = "/Menu";
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";

const char* introspection = R"xml(<node>
  <interface name="org.kde.StatusNotifierItem">
    <property name="Category" type="s" access="read"/>
    <property name="Id" type="s" access="read"/>
    <property name="Title" type="s" access="read"/>
    <property name="Status" type="s" access="read"/>
    <property name="WindowId" type="i" access="read"/>
    <property name="IconName" type="s" access="read"/>
    <property name="IconPixmap" type="a(iiay)" access="read"/>
    <property name="OverlayIconName" type="s" access="read"/>
    <property name="AttentionIconName" type="s" access="read"/>
    <property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
    <property name="ItemIsMenu" type="b" access="read"/>
    <property name="Menu" type="o" access="read"/>
    <property name="XAyatanaLabel" type="s" access="read"/>
    <property name="XAyatanaLabelGuide" type="s" access="read"/>
    <method name="Activate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
    <method name="SecondaryActivate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
    <method name="ContextMenu"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
    <method name="Scroll"><arg name="delta" type="i" direction="in"/><arg name="orientation" type="s" direction="in"/></method>
    <signal name="NewTitle"/>
    <signal name="NewIcon"/>
    <signal name="NewToolTip"/>
    <signal name="NewStatus"><arg name="status" type="s"/></signal>
    <signal name="XAyatanaNewLabel"><arg name="label" type="s"/><arg name="guide" type="s"/></signal>
  </interface>
  <interface name="com.canonical.dbusmenu">
    <property name="Version" type="u" access="read"/>
    <property name="TextDirection" type="s" access="read"/>
    <property name="Status" type="s" access="read"/>
    <property name="IconThemePath" type="as" access="read"/>
    <method name="GetLayout">
      <arg type="i" direction="in"/><arg type="i" direction="in"/><arg type="as" direction="in"/>
      <arg type="u" direction="out"/><arg type="(ia{sv}av)" direction="out"/>
    </method>
    <method name="GetGroupProperties">
      <arg type="ai" direction="in"/><arg type="as" direction="in"/><arg type="a(ia{sv})" direction="out"/>
    </method>
    <method name="GetProperty">
      <arg type="i" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
    </method>
    <method name="Event">
      <arg type="i" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="in"/>
      <arg type="u" direction="in"/>
    </method>
    <method name="EventGroup">
      <arg type="a(isvu)" direction="in"/><arg type="ai" direction="out"/>
    </method>
    <method name="AboutToShow"><arg type="i" direction="in"/><arg type="b" direction="out"/></method>
    <method name="AboutToShowGroup">
      <arg type="ai" direction="in"/><arg type="ai" direction="out"/><arg type="ai" direction="out"/>
    </method>
    <signal name="LayoutUpdated"><arg type="u"/><arg type="i"/></signal>
    <signal name="ItemsPropertiesUpdated"><arg type="a(ia{sv})"/><arg type="a(ias)"/></signal>
  </interface>
</node>)xml";

// The menu: 0 is the root; 1…3 its entries.
struct MenuEntry {
    int id;
    const char* label;
};
constexpr MenuEntry menuEntries[] = {{1, "Open Ostrel"}, {2, "Refresh"}, {3, "Quit Ostrel"}};

GVariant* menuItemProperties(int id) {
    GVariantBuilder b;
    g_variant_builder_init(&b, G_VARIANT_TYPE_VARDICT);
    if (id == 0) {
        g_variant_builder_add(&b, "{sv}", "children-display", g_variant_new_string("submenu"));
    } else {
        for (const auto& e : menuEntries)
            if (e.id == id) g_variant_builder_add(&b, "{sv}", "label", g_variant_new_string(e.label));
        g_variant_builder_add(&b, "{sv}", "enabled", g_variant_new_boolean(TRUE));
        g_variant_builder_add(&b, "{sv}", "visible", g_variant_new_boolean(TRUE));
    }
    return g_variant_builder_end(&b);
}

GVariant* menuLayout() {
    GVariantBuilder children;
    g_variant_builder_init(&children, G_VARIANT_TYPE("av"));
    for (const auto& e : menuEntries) {
        GVariant* child = g_variant_new("(i@a{sv}@av)", e.id, menuItemProperties(e.id),
                                        g_variant_new_array(G_VARIANT_TYPE_VARIANT, nullptr, 0));
        g_variant_builder_add(&children, "v", child);
    }
    return g_variant_new("(i@a{sv}av)", 0, menuItemProperties(0), &children);
}

} // namespace

TrayItem::Pixmap TrayItem::fromSurface(cairo_surface_t* surface) {
    Pixmap p;
    cairo_surface_flush(surface);
    p.width = cairo_image_surface_get_width(surface);
    p.height = cairo_image_surface_get_height(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    p.argb.reserve(static_cast<std::size_t>(p.width * p.height * 4));
    for (int y = 0; y < p.height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + y * stride);
        for (int x = 0; x < p.width; ++x) {
            const std::uint32_t px = row[x];
            const unsigned a = px >> 24;
            auto channel = [&](unsigned shift) -> unsigned char {
                const unsigned c = (px >> shift) & 0xff;
                return static_cast<unsigned char>(a == 0 ? 0 : std::min(255u, (c * 255 + a / 2) / a));
            };
            p.argb.push_back(static_cast<unsigned char>(a));
            p.argb.push_back(channel(16));
            p.argb.push_back(channel(8));
            p.argb.push_back(channel(0));
        }
    }
    return p;
}

TrayItem::TrayItem(GDBusConnection* bus, Actions actions, int index)
    : actions_(std::move(actions)), index_(index) {
    if (index_ > 1) {
        // Hosts find an item at a fixed object path, so each further item needs a connection of
        // its own to the same session bus.
        GCharPtr address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        if (address)
            bus_ = adopt(g_dbus_connection_new_for_address_sync(
                address.get(),
                static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                  G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                nullptr, nullptr, nullptr));
    } else {
        bus_ = bus ? GObjectPtr<GDBusConnection>::ref(bus)
                   : adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    }
    if (!bus_) {
        std::printf("[Ostrel] No session bus: there is no tray item; start Ostrel again to open its panel\n");
        return;
    }
    busName_ = "org.kde.StatusNotifierItem-" + std::to_string(getpid()) + "-" + std::to_string(index_);
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(introspection, nullptr);
    static const GDBusInterfaceVTable vtable{&TrayItem::onMethod, &TrayItem::onGetProperty, nullptr, {}};
    itemRegistration_ = g_dbus_connection_register_object(bus_.get(), itemPath, node->interfaces[0], &vtable,
                                                          this, nullptr, nullptr);
    menuRegistration_ = g_dbus_connection_register_object(bus_.get(), menuPath, node->interfaces[1], &vtable,
                                                          this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    ownerId_ = g_bus_own_name_on_connection(bus_.get(), busName_.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE,
                                            nullptr, nullptr, nullptr, nullptr);
    watchId_ = g_bus_watch_name_on_connection(
        bus_.get(), watcherName, G_BUS_NAME_WATCHER_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, gpointer self) {
            static_cast<TrayItem*>(self)->registerWithWatcher();
        },
        [](GDBusConnection*, const char*, gpointer data) {
            auto* self = static_cast<TrayItem*>(data);
            self->registered_ = false;
            if (!self->toldNoWatcher_ && self->index_ == 1) {
                self->toldNoWatcher_ = true;
                std::printf(
                    "[Ostrel] No system tray found (no StatusNotifierWatcher on the session bus); Ostrel "
                    "keeps running: start it again to open its panel\n");
                std::fflush(stdout);
            }
        },
        this, nullptr);
}

TrayItem::~TrayItem() {
    g_cancellable_cancel(cancel_.get());
    if (watchId_) g_bus_unwatch_name(watchId_);
    if (ownerId_) g_bus_unown_name(ownerId_);
    if (itemRegistration_) g_dbus_connection_unregister_object(bus_.get(), itemRegistration_);
    if (menuRegistration_) g_dbus_connection_unregister_object(bus_.get(), menuRegistration_);
}

void TrayItem::registerWithWatcher() {
    // Hosts look the item up by its unique bus name or well-known name; the well-known one is ours.
    g_dbus_connection_call(
        bus_.get(), watcherName, "/StatusNotifierWatcher", watcherName, "RegisterStatusNotifierItem",
        g_variant_new("(s)", busName_.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, cancel_.get(),
        [](GObject* source, GAsyncResult* res, gpointer data) {
            GErrorOut err;
            GVariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), res, err.out()));
            if (err.matches(G_IO_ERROR, G_IO_ERROR_CANCELLED)) return; // the item is gone
            auto* self = static_cast<TrayItem*>(data);
            if (!reply) {
                std::printf("[Ostrel] The system tray did not take the item: %s\n", err.message().c_str());
                return;
            }
            self->registered_ = true;
            if (self->onRegistered) self->onRegistered();
        },
        this);
}

void TrayItem::emit(const char* signal, GVariant* params) {
    if (!bus_) return;
    g_dbus_connection_emit_signal(bus_.get(), nullptr, itemPath, "org.kde.StatusNotifierItem", signal, params,
                                  nullptr);
}

void TrayItem::update(std::vector<Pixmap> pixmaps, std::string title, std::string label) {
    pixmaps_ = std::move(pixmaps);
    const bool titleChanged = title != title_, labelChanged = label != label_;
    title_ = std::move(title);
    label_ = std::move(label);
    emit("NewIcon");
    if (titleChanged) {
        emit("NewTitle");
        emit("NewToolTip");
    }
    if (labelChanged) emit("XAyatanaNewLabel", g_variant_new("(ss)", label_.c_str(), ""));
}

GVariant* TrayItem::itemProperty(const std::string& name) const {
    if (name == "Category") return g_variant_new_string("ApplicationStatus");
    if (name == "Id") return g_variant_new_string("ostrel");
    if (name == "Title") return g_variant_new_string(title_.c_str());
    if (name == "Status") return g_variant_new_string("Active");
    if (name == "WindowId") return g_variant_new_int32(0);
    if (name == "IconName" || name == "OverlayIconName" || name == "AttentionIconName")
        return g_variant_new_string("");
    if (name == "ItemIsMenu") return g_variant_new_boolean(FALSE);
    if (name == "Menu") return g_variant_new_object_path(menuPath);
    if (name == "XAyatanaLabel") return g_variant_new_string(label_.c_str());
    if (name == "XAyatanaLabelGuide") return g_variant_new_string("");
    if (name == "IconPixmap") {
        GVariantBuilder b;
        g_variant_builder_init(&b, G_VARIANT_TYPE("a(iiay)"));
        for (const Pixmap& p : pixmaps_) {
            GVariant* bytes = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, p.argb.data(), p.argb.size(), 1);
            g_variant_builder_add(&b, "(ii@ay)", p.width, p.height, bytes);
        }
        return g_variant_builder_end(&b);
    }
    if (name == "ToolTip") // the spoken text, with no picture of its own
        return g_variant_new("(s@a(iiay)ss)", "", g_variant_new_array(G_VARIANT_TYPE("(iiay)"), nullptr, 0),
                             title_.c_str(), "");
    return nullptr;
}

GVariant* TrayItem::menuProperty(const std::string& name) const {
    if (name == "Version") return g_variant_new_uint32(3);
    if (name == "TextDirection") return g_variant_new_string("ltr");
    if (name == "Status") return g_variant_new_string("normal");
    if (name == "IconThemePath") return g_variant_new_strv(nullptr, 0);
    return nullptr;
}

GVariant* TrayItem::onGetProperty(GDBusConnection*, const char*, const char*, const char* iface,
                                  const char* property, GError** error, gpointer data) {
    auto* self = static_cast<TrayItem*>(data);
    GVariant* v = std::string(iface) == "com.canonical.dbusmenu" ? self->menuProperty(property)
                                                                 : self->itemProperty(property);
    if (!v) g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_PROPERTY, "No property %s", property);
    return v;
}

void TrayItem::onMethod(GDBusConnection*, const char*, const char*, const char* iface, const char* method,
                        GVariant* params, GDBusMethodInvocation* invocation, gpointer data) {
    auto* self = static_cast<TrayItem*>(data);
    const std::string name = method;
    if (std::string(iface) == "com.canonical.dbusmenu") {
        self->menuMethod(name, params, invocation);
        return;
    }
    if (name == "Activate" || name == "SecondaryActivate") {
        gint32 x = 0, y = 0;
        g_variant_get(params, "(ii)", &x, &y);
        g_dbus_method_invocation_return_value(invocation, nullptr);
        if (self->actions_.activate) self->actions_.activate(x, y);
        return;
    }
    // The context menu is served through the exported menu; scrolling does nothing.
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

void TrayItem::menuMethod(const std::string& method, GVariant* params, GDBusMethodInvocation* invocation) {
    if (method == "GetLayout") {
        g_dbus_method_invocation_return_value(invocation,
                                              g_variant_new("(u@(ia{sv}av))", menuRevision_, menuLayout()));
    } else if (method == "GetGroupProperties") {
        GVariantIter* ids = nullptr;
        g_variant_get(params, "(aias)", &ids, nullptr);
        GVariantBuilder b;
        g_variant_builder_init(&b, G_VARIANT_TYPE("a(ia{sv})"));
        gint32 id = 0;
        while (g_variant_iter_next(ids, "i", &id))
            g_variant_builder_add(&b, "(i@a{sv})", id, menuItemProperties(id));
        g_variant_iter_free(ids);
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(a(ia{sv}))", &b));
    } else if (method == "GetProperty") {
        gint32 id = 0;
        const char* prop = nullptr;
        g_variant_get(params, "(i&s)", &id, &prop);
        GVariantPtr props(g_variant_ref_sink(menuItemProperties(id)));
        GVariant* value = g_variant_lookup_value(props.get(), prop, nullptr);
        if (!value) value = g_variant_new_string("");
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(v)", value));
    } else if (method == "Event" || method == "EventGroup") {
        std::vector<std::pair<int, std::string>> events;
        if (method == "Event") {
            gint32 id = 0;
            const char* type = nullptr;
            g_variant_get(params, "(i&svu)", &id, &type, nullptr, nullptr);
            events.emplace_back(id, type);
            g_dbus_method_invocation_return_value(invocation, nullptr);
        } else {
            GVariantIter* iter = nullptr;
            g_variant_get(params, "(a(isvu))", &iter);
            gint32 id = 0;
            const char* type = nullptr;
            while (g_variant_iter_next(iter, "(i&svu)", &id, &type, nullptr, nullptr))
                events.emplace_back(id, type);
            g_variant_iter_free(iter);
            g_dbus_method_invocation_return_value(invocation, g_variant_new("(ai)", nullptr));
        }
        for (const auto& [id, type] : events) {
            if (type != "clicked") continue;
            if (id == 1 && actions_.activate) actions_.activate(0, 0);
            if (id == 2 && actions_.refresh) actions_.refresh();
            if (id == 3 && actions_.quit) actions_.quit();
        }
    } else if (method == "AboutToShow") {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(b)", FALSE));
    } else if (method == "AboutToShowGroup") {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(aiai)", nullptr, nullptr));
    } else {
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.UnknownMethod",
                                                   method.c_str());
    }
}

} // namespace ostrel
