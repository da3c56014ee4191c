#pragma once
// The application: one instance per user session (starting it again opens the running one's
// panel), no main window, a tray item, and the panel it opens. --demo runs it against built-in
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
    // Start-up could not go on (the demo had no folder of its own): the run ends with an error.
    bool startFailed() const { return startFailed_; }

  protected:
    explicit OstrelApp(bool demo);
    void on_startup() override;
    void on_activate() override;
    void on_shutdown() override;

  private:
    // Registers the application's named actions (app_actions.cpp).
    void addActions();

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
    TaskGroup tasks_; // the start-up (demo log-in, then the model's cycle)
};

// Parses the command line and runs the app; returns the process's exit status.
int runOstrel(int argc, char** argv);

} // namespace ostrel
