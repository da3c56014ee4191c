#pragma once
// The settings screen: the theme row, "Start at login", a section per service, the support and
// feedback rows, and "Refresh" (Ctrl+R) and "Quit Ostrel" (Ctrl+Q). It keeps nothing itself:
// switches write the settings (or the autostart entry), account buttons call the model, the three
// rows activate the panel's "win.theme", "win.support" and "win.feedback", and the bottom buttons
// and their keys "app.refresh" and "app.quit".

#include "model/usage_model.h"
#include "ui/panel/autostart_row.h"
#include "ui/panel/clear_history_button.h"
#include "ui/panel/service_section.h"
#include "ui/panel/settings_rows.h"
#include "ui/panel/tray_layout_row.h"

#include <array>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/separator.h>
#include <memory>

namespace ostrel {

class SettingsView : public Gtk::Box {
  public:
    explicit SettingsView(UsageModel& model);

  private:
    void update();

    UsageModel& model_;
    NavigationRow theme_;
    AutostartRow autostart_;
    TrayLayoutRow trayLayout_;
    Gtk::Separator themeDivider_;
    std::array<std::unique_ptr<ServiceSection>, 3> sections_;
    std::array<Gtk::Separator, 3> sectionDividers_;
    NavigationRow support_;
    NavigationRow feedback_;
    NavigationRow about_; // the about window, through the application
    Gtk::Separator bottomDivider_;
    Gtk::Box bottom_{Gtk::Orientation::HORIZONTAL};
    Gtk::Button refresh_;
    ClearHistoryButton clearHistory_{model_};
    Gtk::Box spacer_;
    Gtk::Button quit_;
};

} // namespace ostrel
