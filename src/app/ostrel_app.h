#pragma once
// The application: one instance per user session (starting it again opens the running one's
// panel), no main window, a tray item, and the panel it opens. Where there is no tray, the first
// start opens the panel as a window. --demo runs it against built-in
// stand-in services with demo accounts.

#include "app/app_core.h"
#include "app/demo.h"
#include "app/status_service.h"
#include "async/task_group.h"
#include "tray/tray_appearance.h"
#include "tray/tray_controller.h"

#include <gtkmm/application.h>
#include <memory>

namespace ostrel {

class AboutWindow;
class PanelWindow;

class OstrelApp : public Gtk::Application {
  public:
    static Glib::RefPtr<OstrelApp> create(bool demo);
    ~OstrelApp() override;

    // Opens the panel near (x, y) on screen, or where the desktop puts it when unknown.
    void openPanel(std::optional<std::pair<int, int>> near = std::nullopt);
    // A click on a tray item: opens the panel on `service`'s tab ("" keeps the tab), or closes it
    // when it already shows that tab.
    void togglePanel(const std::string& service, std::optional<std::pair<int, int>> near);
    // Opens the panel on `id`'s tab (a click on one of its notifications).
    void showService(ProviderID id);
    void showAbout();
    // Start-up could not go on (the demo had no folder of its own): the run ends with an error.
    bool startFailed() const { return startFailed_; }

  protected:
    explicit OstrelApp(bool demo);
    void on_startup() override;
    void on_activate() override;
    void on_shutdown() override;
    bool dbus_register_vfunc(const Glib::RefPtr<Gio::DBus::Connection>& connection,
                             const Glib::ustring& objectPath) override;
    void dbus_unregister_vfunc(const Glib::RefPtr<Gio::DBus::Connection>& connection,
                               const Glib::ustring& objectPath) override;

  private:
    // Registers the application's named actions (app_actions.cpp).
    void addActions();
    // The first start: opens the panel as a window when the bus says there is no tray.
    static Task<void> openWithoutTray(OstrelApp* self);

    bool demoMode_;
    bool activatedOnce_ = false;
    bool startFailed_ = false;
    SystemClock clock_;
    std::unique_ptr<Demo> demo_;
    std::unique_ptr<AppCore> core_;
    std::unique_ptr<StatusService> status_; // the status for bars and scripts, on the app's bus
    std::unique_ptr<TrayAppearance> appearance_;
    std::unique_ptr<TrayController> tray_;
    std::unique_ptr<PanelWindow> panel_;
    sigc::connection trayPresence_;
    std::unique_ptr<AboutWindow> about_; // made on first use
    TaskGroup tasks_;                    // the start-up (demo log-in, then the model's cycle)
};

// Parses the command line and runs the app; returns the process's exit status.
int runOstrel(int argc, char** argv);

} // namespace ostrel
