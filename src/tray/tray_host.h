#pragma once
// Who hosts the tray: the process that owns org.kde.StatusNotifierWatcher on the session bus, named
// by its /proc/<pid>/comm ("waybar", "gnome-shell", "panel-6-systray" for Xfce's tray plugin, which
// runs in a process of its own, ...). The name is looked up again whenever the watcher's owner
// changes, and "" while there is none or it cannot be told.

#include "async/task_group.h"
#include "base/gobject_ptr.h"

#include <gio/gio.h>
#include <sigc++/signal.h>
#include <string>

namespace ostrel {

class TrayHost {
  public:
    explicit TrayHost(GDBusConnection* bus);
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;
    ~TrayHost();

    const std::string& name() const { return name_; }
    // Whether the bus has said anything yet: until then "" means "not known yet", not "no host".
    bool settled() const { return settled_; }
    // Emitted when the name changes or first settles.
    sigc::signal<void()> changed;

  private:
    static Task<void> lookUp(TrayHost* self, std::string owner);
    void setName(std::string name);

    GObjectPtr<GDBusConnection> bus_;
    guint watchId_ = 0;
    std::string name_;
    bool settled_ = false;
    TaskGroup tasks_;
};

} // namespace ostrel
