#pragma once
// The content of the drop-down panel: a 300-point card with a header and one screen at a time —
// the main screen, settings, the theme picker, the support and payment screens, or feedback — as
// the pages of a stack. Every time the panel opens it returns to the main screen and asks the model
// to refresh.
//
// Its commands are actions for the window to insert as "win": "settings" (Ctrl+comma, main screen
// only), "back" (Escape: one screen back, or from the main screen, close the panel), and "theme", "support",
// "feedback" (the settings screen's rows). The settings screen's "Refresh" and "Quit Ostrel" activate
// "app.refresh" and "app.quit", which the application provides.

#include "model/usage_model.h"
#include "ui/panel/main_screen.h"
#include "ui/panel/panel_header.h"
#include "ui/panel/panel_screen.h"
#include "ui/panel/settings_view.h"
#include "ui/panel/theme_picker_view.h"

#include <giomm/simpleactiongroup.h>
#include <gtkmm/box.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/stack.h>
#include <gtkmm/viewport.h>
#include <memory>
#include <optional>
#include <string>

namespace ostrel {

class PanelView : public Gtk::Widget {
  public:
    static constexpr int width = 300;
    static constexpr int padding = 12;
    // The least height the panel keeps however small the screen: the header and a little of a screen.
    static constexpr int minimumHeight = 160;

    // `feedbackEndpoint` is where the feedback form posts.
    PanelView(UsageModel& model, std::string feedbackEndpoint);
    ~PanelView() override;
    PanelView(const PanelView&) = delete;
    PanelView& operator=(const PanelView&) = delete;

    PanelScreen screen() const { return screen_; }
    void setScreen(PanelScreen screen);
    // Goes where the back button leads; false on the main screen, which has none.
    bool goBack();

    // For the window: it was shown (back to the main screen, refresh every active service) or
    // hidden (back to the main screen).
    void panelShown();
    void panelHidden();
    // "back" on the main screen: the window closes, as a drop-down does on Escape.
    sigc::signal<void()> closeRequested;

    // The service the main screen shows, and its main limit's percentage left.
    std::optional<ProviderID> selected() const;
    std::optional<double> currentPercentLeft() const;
    double supportAmount() const { return supportAmount_; }

    // Without a compositor nothing behind the window shows through: draw the card solid and square.
    void setOpaqueCard(bool opaque);

    // The panel's commands, to be inserted as "win" (see above).
    Glib::RefPtr<Gio::ActionGroup> actions() const { return actions_; }

    PanelHeader& header() { return header_; }
    // The screen shown.
    Gtk::Widget& body() { return *pages_.get_visible_child(); }
    // What the screens scroll in when the panel would be taller than the screen's work area.
    Gtk::ScrolledWindow& scroller() { return scroller_; }
    // The tallest the panel may be; by default the work area of its monitor, less a margin.
    void setHeightLimit(std::optional<int> limit);
    MainScreen& mainScreen() { return main_; }

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

  private:
    void installActions();
    Gtk::Widget& enter(PanelScreen screen);
    // Puts a freshly made page for `screen` in place of the one made last time.
    Gtk::Widget& renew(std::unique_ptr<Gtk::Widget>& slot, PanelScreen screen,
                       std::unique_ptr<Gtk::Widget> page);

    UsageModel& model_;
    std::string feedbackEndpoint_; // where the feedback form posts
    PanelScreen screen_ = PanelScreen::main;
    double supportAmount_ = 100;
    Glib::RefPtr<Gio::SimpleActionGroup> actions_;
    Gtk::Box column_{Gtk::Orientation::VERTICAL, 14};
    PanelHeader header_;
    Gtk::ScrolledWindow scroller_;
    Gtk::Viewport viewport_{Glib::RefPtr<Gtk::Adjustment>(), Glib::RefPtr<Gtk::Adjustment>()};
    Gtk::Stack pages_;
    std::optional<int> heightLimit_; // set by tests; none asks the monitor
    MainScreen main_;
    SettingsView settings_;
    std::unique_ptr<ThemePickerView> theme_; // made on first use, then kept
    // Screens that start afresh on every entry. The page left behind stays until the next entry, so
    // a button that leaves its screen is never destroyed under its own click.
    std::unique_ptr<Gtk::Widget> support_;
    std::unique_ptr<Gtk::Widget> supportQR_;
    std::unique_ptr<Gtk::Widget> feedback_;
};

} // namespace ostrel
