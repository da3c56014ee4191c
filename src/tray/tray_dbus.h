#pragma once
// What the tray item and its menu share on D-Bus: their interface descriptions, which ship in the
// program's resource bundle, and turning a click into one of the application's named actions.

#include <gio/gio.h>

namespace ostrel {

// The description of `name` ("org.kde.StatusNotifierItem" or "com.canonical.dbusmenu"), read from
// the bundle once for the whole run; null (and said so) when the bundle lacks it.
GDBusInterfaceInfo* trayInterface(const char* name);

// Activates `action` of `actions` with `parameter` (null or floating; consumed). A missing group or
// action is said in the log: a click then does nothing rather than take the app down.
void activateTrayAction(GActionGroup* actions, const char* action, GVariant* parameter = nullptr);

} // namespace ostrel
