#pragma once
// Whether the tray's bar is dark: the desktop's colour-scheme setting (the settings portal's
// org.freedesktop.appearance color-scheme), else the GTK dark preference or a dark theme name, else
// light. OSTREL_TRAY_STYLE (dark or light) overrides all, for panels that do not follow the desktop's
// scheme. A change of any source is reported at once.

#include "async/task.h"
#include "async/task_group.h"
#include "base/gobject_ptr.h"

#include <functional>
#include <gio/gio.h>
#include <optional>
#include <vector>

namespace ostrel {

class TrayAppearance {
  public:
    // `changed` runs whenever the answer may have changed.
    TrayAppearance(GDBusConnection* bus, std::function<void()> changed);
    TrayAppearance(const TrayAppearance&) = delete;
    TrayAppearance& operator=(const TrayAppearance&) = delete;
    ~TrayAppearance();

    // True for a dark bar, false for a light one (also when no source says: no match counts as
    // light); nothing only before GTK is up.
    std::optional<bool> barIsDark() const;

  private:
    static void onSettingChanged(GDBusConnection*, const char*, const char*, const char*, const char*,
                                 GVariant* params, gpointer self);
    Task<void> readPortal();
    void followGtkSettings();

    GObjectPtr<GDBusConnection> bus_;
    std::function<void()> changed_;
    std::optional<unsigned> colorScheme_; // 0 no preference, 1 dark, 2 light
    guint subscription_ = 0;
    std::vector<gulong> gtkHandlers_; // on the default GtkSettings, which outlives us
    TaskGroup tasks_;                 // the portal read; last, so it ends before anything it writes goes
};

} // namespace ostrel
