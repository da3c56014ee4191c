#include "tray/tray_menu.h"

#include "tray/tray_dbus.h"

#include <utility>
#include <vector>

namespace ostrel {

namespace {

constexpr const char* menuInterface = "com.canonical.dbusmenu";
constexpr unsigned layoutRevision = 1; // the entries never change

// 0 is the root; 1…4 its entries, in the order shown (About before Quit, as menus have it).
struct Entry {
    int id;
    const char* label;
    const char* action;
};
constexpr Entry entries[] = {{1, "Open Ostrel", "open-panel"},
                             {2, "Refresh", "refresh"},
                             {4, "About Ostrel", "about"},
                             {3, "Quit Ostrel", "quit"}};

GVariant* entryProperties(int id) {
    GVariantBuilder b;
    g_variant_builder_init(&b, G_VARIANT_TYPE_VARDICT);
    if (id == 0) {
        g_variant_builder_add(&b, "{sv}", "children-display", g_variant_new_string("submenu"));
    } else {
        for (const auto& e : entries)
            if (e.id == id) g_variant_builder_add(&b, "{sv}", "label", g_variant_new_string(e.label));
        g_variant_builder_add(&b, "{sv}", "enabled", g_variant_new_boolean(TRUE));
        g_variant_builder_add(&b, "{sv}", "visible", g_variant_new_boolean(TRUE));
    }
    return g_variant_builder_end(&b);
}

GVariant* layout() {
    GVariantBuilder children;
    g_variant_builder_init(&children, G_VARIANT_TYPE("av"));
    for (const auto& e : entries) {
        GVariant* child = g_variant_new("(i@a{sv}@av)", e.id, entryProperties(e.id),
                                        g_variant_new_array(G_VARIANT_TYPE_VARIANT, nullptr, 0));
        g_variant_builder_add(&children, "v", child);
    }
    return g_variant_new("(i@a{sv}av)", 0, entryProperties(0), &children);
}

} // namespace

TrayMenu::TrayMenu(GDBusConnection* bus, GActionGroup* actions)
    : bus_(GObjectPtr<GDBusConnection>::ref(bus)), actions_(GObjectPtr<GActionGroup>::ref(actions)) {
    GDBusInterfaceInfo* info = trayInterface(menuInterface);
    if (!bus_ || !info) return;
    static const GDBusInterfaceVTable vtable{&TrayMenu::onMethod, &TrayMenu::onGetProperty, nullptr, {}};
    registration_ =
        g_dbus_connection_register_object(bus_.get(), path, info, &vtable, this, nullptr, nullptr);
}

TrayMenu::~TrayMenu() {
    if (registration_) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

GVariant* TrayMenu::onGetProperty(GDBusConnection*, const char*, const char*, const char*,
                                  const char* property, GError** error, gpointer) {
    const std::string name = property;
    if (name == "Version") return g_variant_new_uint32(3);
    if (name == "TextDirection") return g_variant_new_string("ltr");
    if (name == "Status") return g_variant_new_string("normal");
    if (name == "IconThemePath") return g_variant_new_strv(nullptr, 0);
    g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_PROPERTY, "No property %s", property);
    return nullptr;
}

void TrayMenu::onMethod(GDBusConnection*, const char*, const char*, const char*, const char* method,
                        GVariant* params, GDBusMethodInvocation* invocation, gpointer self) {
    static_cast<TrayMenu*>(self)->call(method, params, invocation);
}

void TrayMenu::call(const std::string& method, GVariant* params, GDBusMethodInvocation* invocation) {
    if (method == "GetLayout") {
        g_dbus_method_invocation_return_value(invocation,
                                              g_variant_new("(u@(ia{sv}av))", layoutRevision, layout()));
    } else if (method == "GetGroupProperties") {
        GVariantIter* ids = nullptr;
        g_variant_get(params, "(aias)", &ids, nullptr);
        GVariantBuilder b;
        g_variant_builder_init(&b, G_VARIANT_TYPE("a(ia{sv})"));
        gint32 id = 0;
        while (g_variant_iter_next(ids, "i", &id))
            g_variant_builder_add(&b, "(i@a{sv})", id, entryProperties(id));
        g_variant_iter_free(ids);
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(a(ia{sv}))", &b));
    } else if (method == "GetProperty") {
        gint32 id = 0;
        const char* prop = nullptr;
        g_variant_get(params, "(i&s)", &id, &prop);
        GVariantPtr props(g_variant_ref_sink(entryProperties(id)));
        GVariant* value = g_variant_lookup_value(props.get(), prop, nullptr);
        if (!value) value = g_variant_new_string("");
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(v)", value));
    } else if (method == "Event" || method == "EventGroup") {
        // Answer before acting: an action may take a while (or end the app), and the host waits.
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
        // Held here: an action may end the menu's life before the loop is through.
        const GObjectPtr<GActionGroup> actions = actions_;
        for (const auto& [id, type] : events)
            for (const auto& e : entries)
                if (type == "clicked" && e.id == id) activateTrayAction(actions.get(), e.action);
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
