#pragma once
// The drop-down window the tray opens: undecorated, the panel's width, a translucent rounded card
// when a compositor can show what lies behind it (a solid one when not). It is hidden, never
// destroyed, when closed or when it loses the focus, and it tells the panel when it shows and hides.
// The panel's commands are the window's "win" actions; "app" ones come from the application.

#include "model/usage_model.h"
#include "ui/panel/panel_view.h"

#include <gtkmm/window.h>
#include <optional>
#include <string>
#include <utility>

namespace ostrel {

class PanelWindow : public Gtk::Window {
  public:
    // Root coordinates of the click that opened the panel.
    using Pointer = std::optional<std::pair<int, int>>;

    PanelWindow(UsageModel& model, std::string feedbackEndpoint);
    ~PanelWindow() override;
    PanelWindow(const PanelWindow&) = delete;
    PanelWindow& operator=(const PanelWindow&) = delete;

    // Shows the panel; on X11 next to `nearPointer` when given. On Wayland a toplevel cannot be
    // placed, so it is only presented.
    void popup(Pointer nearPointer = std::nullopt);
    // Whether the panel hid a moment ago because the focus went elsewhere: a click on the tray
    // item that opened it does that first, and its own activation comes just after.
    bool hidByFocusLossJustNow() const;

    // A drop-down closes when the user clicks elsewhere; tests that drive the window turn it off.
    void setHidesOnFocusLoss(bool hides) { hidesOnFocusLoss_ = hides; }
    bool hidesOnFocusLoss() const { return hidesOnFocusLoss_; }

    PanelView& view() { return view_; }
    // Whether the card is drawn translucent (a compositor is running).
    bool translucent() const { return translucent_; }

  private:
    void updateTranslucency();
    void placeAfterMapping();
    void followHeight(int height);

    PanelView view_;
    bool hidesOnFocusLoss_ = true;
    bool wasActive_ = false;
    gint64 focusLostAt_ = 0; // monotonic µs of the last hide on focus loss
    bool translucent_ = false;
    Pointer pendingPointer_;
    // The click the panel was placed by; a screen of another height is placed again, so a panel
    // opened above a bottom tray keeps its lower edge by the tray.
    Pointer placedBy_;
    int placedHeight_ = 0;
    sigc::connection compositedChanged_;
    sigc::connection surfaceLayout_;
};

} // namespace ostrel
