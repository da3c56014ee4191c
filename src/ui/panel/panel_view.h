#pragma once
// The content of the drop-down panel: a 300-point card with a header and one screen at a time —
// the main screen, settings, the theme picker, the support and payment screens, or feedback. Every
// time the panel opens it returns to the main screen and asks the model to refresh.

#include "model/usage_model.h"
#include "ui/panel/panel_header.h"
#include "ui/panel/panel_screen.h"
#include "ui/panel/retired_widgets.h"

#include <functional>
#include <gtkmm/box.h>
#include <memory>
#include <optional>

namespace ostrel {

class MainScreen;

class PanelView : public Gtk::Widget {
  public:
    static constexpr int width = 300;
    static constexpr int padding = 12;

    // `quit` ends the application ("Quit Ostrel" and Ctrl+Q on the settings screen);
    // `feedbackEndpoint` is where the feedback form posts.
    PanelView(UsageModel& model, std::function<void()> quit, std::string feedbackEndpoint);
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

    // The service the main screen shows, and its main limit's percentage left.
    std::optional<ProviderID> selected() const;
    std::optional<double> currentPercentLeft() const;
    double supportAmount() const { return supportAmount_; }

    // Without a compositor nothing behind the window shows through: draw the card solid and square.
    void setOpaqueCard(bool opaque);

    PanelHeader& header() { return header_; }
    Gtk::Widget& body() { return *body_; }
    // The main screen while it is shown, else null.
    MainScreen* mainScreen() const;

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

  private:
    std::unique_ptr<Gtk::Widget> makeScreen(PanelScreen screen);
    void installShortcuts();

    UsageModel& model_;
    std::function<void()> quit_;
    std::string feedbackEndpoint_; // where the feedback form posts
    PanelScreen screen_ = PanelScreen::main;
    double supportAmount_ = 100;
    Gtk::Box column_{Gtk::Orientation::VERTICAL, 14};
    PanelHeader header_;
    std::unique_ptr<Gtk::Widget> body_;
    RetiredWidgets retired_;
};

} // namespace ostrel
