#include "app/status_service.h"

#include "base/log.h"
#include "model/status_json.h"

namespace ostrel {

namespace {

const char* const introspection = R"(<node>
  <interface name="app.ostrel.Ostrel.Status">
    <property name="Json" type="s" access="read"/>
    <property name="Text" type="s" access="read"/>
    <property name="Waybar" type="s" access="read"/>
    <signal name="Changed"><arg name="json" type="s"/></signal>
  </interface>
</node>)";

struct NodeInfoDeleter {
    void operator()(GDBusNodeInfo* n) const { g_dbus_node_info_unref(n); }
};

// The error domain whose one error goes over the bus by our D-Bus name (registered once; the
// mapping never changes).
GQuark startingErrorDomain() {
    static const GDBusErrorEntry entries[] = {{0, statusStartingError}};
    static gsize quark = 0;
    g_dbus_error_register_error_domain("ostrel-status-error-quark", &quark, entries, G_N_ELEMENTS(entries));
    return static_cast<GQuark>(quark);
}

GVariant* getProperty(GDBusConnection*, const char*, const char*, const char*, const char* name,
                      GError** error, gpointer data) {
    auto* self = static_cast<StatusService*>(data);
    if (!self->attached()) {
        g_set_error(error, startingErrorDomain(), 0, "Ostrel is starting");
        return nullptr;
    }
    const std::string value = self->property(name);
    if (value.empty()) {
        g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_PROPERTY, "No property %s", name);
        return nullptr;
    }
    return g_variant_new_string(value.c_str());
}

const GDBusInterfaceVTable vtable = {nullptr, getProperty, nullptr, {}};

} // namespace

StatusService::StatusService(GDBusConnection* bus) : bus_(GObjectPtr<GDBusConnection>::ref(bus)) {
    if (!bus_) return;
    std::unique_ptr<GDBusNodeInfo, NodeInfoDeleter> node(
        g_dbus_node_info_new_for_xml(introspection, nullptr));
    GErrorOut err;
    registration_ = g_dbus_connection_register_object(bus_.get(), statusObjectPath, node->interfaces[0],
                                                      &vtable, this, nullptr, err.out());
    if (!registration_) log("Status export unavailable: " + err.message());
}

StatusService::StatusService(GDBusConnection* bus, UsageModel& model, const UsageHistory* history)
    : StatusService(bus) {
    attach(model, history);
}

void StatusService::attach(UsageModel& model, const UsageHistory* history) {
    model_ = &model;
    history_ = history;
    lastJson_ = statusJson(*model_, history_, model_->now());
    connection_ = model_->changed.connect([this] { onModelChanged(); });
    // Whoever asked while it was starting gets the first document now.
    if (registration_)
        g_dbus_connection_emit_signal(bus_.get(), nullptr, statusObjectPath, statusInterface, "Changed",
                                      g_variant_new("(s)", lastJson_.c_str()), nullptr);
}

StatusService::~StatusService() {
    connection_.disconnect();
    if (registration_) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

std::string StatusService::property(const std::string& name) const {
    if (!model_) return {};
    if (name == "Json") return statusJson(*model_, history_, model_->now());
    if (name == "Text") return model_->trayAccessibilityText();
    if (name == "Waybar") return waybarJson(*model_, history_);
    return {};
}

void StatusService::onModelChanged() {
    std::string json = statusJson(*model_, history_, model_->now());
    if (!registration_ || json == lastJson_) return;
    lastJson_ = std::move(json);
    g_dbus_connection_emit_signal(bus_.get(), nullptr, statusObjectPath, statusInterface, "Changed",
                                  g_variant_new("(s)", lastJson_.c_str()), nullptr);
}

} // namespace ostrel
