#pragma once
// The app's tray as a whole: one wide label or one square item per service, as the settings, the
// OSTREL_TRAY_ITEMS override and the tray host decide (tray_layout.h). A change of any of them
// takes the old items off the bus and registers the new ones, without a restart. It also tells
// whether there is a tray at all (a StatusNotifierWatcher on the bus), for the app to show its
// panel as a window where there is none.

#include "model/usage_model.h"
#include "tray/service_tray_items.h"
#include "tray/tray_host.h"
#include "tray/tray_layout.h"
#include "tray/tray_presenter.h"

#include <memory>
#include <optional>
#include <sigc++/connection.h>
#include <sigc++/signal.h>
#include <string>

namespace ostrel {

class TrayController {
  public:
    // `actions` is the application's action group the items' clicks and menus activate.
    TrayController(UsageModel& model, GDBusConnection* bus, GActionGroup* actions);
    TrayController(const TrayController&) = delete;
    TrayController& operator=(const TrayController&) = delete;
    ~TrayController();

    std::optional<TrayShape> shape() const { return shape_; }
    // Whether a tray host is on the bus; none until the bus has said.
    std::optional<bool> trayPresent() const { return trayPresent_; }
    // Emitted when trayPresent() changes.
    sigc::signal<void()> presenceChanged;

  private:
    void apply();
    void setPresent(bool present);

    UsageModel& model_;
    GDBusConnection* bus_;
    GActionGroup* actions_;
    std::string override_;
    TrayHost host_;
    std::optional<TrayShape> shape_;
    bool newestFirst_ = false;
    std::optional<bool> trayPresent_;
    guint watchId_ = 0;
    std::unique_ptr<TrayItem> label_;
    std::unique_ptr<TrayPresenter> presenter_;
    std::unique_ptr<ServiceTrayItems> services_;
    sigc::connection settingsChanged_;
    sigc::connection hostChanged_;
};

} // namespace ostrel
