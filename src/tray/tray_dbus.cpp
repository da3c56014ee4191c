#include "tray/tray_dbus.h"

#include "base/gobject_ptr.h"
#include "base/log.h"

#include <cstring>
#include <memory>
#include <string>

extern "C" GResource* ostrel_get_resource(void);

namespace ostrel {

namespace {

struct NodeInfoDeleter {
    void operator()(GDBusNodeInfo* node) const { g_dbus_node_info_unref(node); }
};
using NodeInfoPtr = std::unique_ptr<GDBusNodeInfo, NodeInfoDeleter>;

NodeInfoPtr readNode(const char* name) {
    const std::string path = std::string("/app/ostrel/Ostrel/dbus/") + name + ".xml";
    GErrorOut err;
    GBytesPtr bytes(
        g_resource_lookup_data(ostrel_get_resource(), path.c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE, err.out()));
    NodeInfoPtr node;
    // Bundled data always ends in a zero byte, so it can be read as a string.
    if (bytes)
        node.reset(g_dbus_node_info_new_for_xml(
            static_cast<const char*>(g_bytes_get_data(bytes.get(), nullptr)), err.out()));
    if (!node) log(std::string("The tray cannot read its D-Bus interface ") + name + ": " + err.message());
    return node;
}

} // namespace

GDBusInterfaceInfo* trayInterface(const char* name) {
    // Parsed once; the descriptions never change while the program runs.
    static const NodeInfoPtr item = readNode("org.kde.StatusNotifierItem");
    static const NodeInfoPtr menu = readNode("com.canonical.dbusmenu");
    const NodeInfoPtr& node = std::strcmp(name, "com.canonical.dbusmenu") == 0 ? menu : item;
    return node ? g_dbus_node_info_lookup_interface(node.get(), name) : nullptr;
}

void activateTrayAction(GActionGroup* actions, const char* action, GVariant* parameter) {
    GVariantPtr owned(parameter ? g_variant_ref_sink(parameter) : nullptr);
    if (!actions || !g_action_group_has_action(actions, action)) {
        log(std::string("The tray has no action ") + action + " to run");
        return;
    }
    g_action_group_activate_action(actions, action, owned.get());
}

} // namespace ostrel
