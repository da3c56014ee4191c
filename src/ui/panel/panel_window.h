#pragma once
// The window the tray opens. On X11 with a tray it is a drop-down by the tray item: undecorated,
// the panel's width, a translucent rounded card when a compositor can show what lies behind it (a
// solid one when not). Where a client cannot place its windows (Wayland: GNOME, sway) or there is no
// tray to open it from, it is a proper window instead: decorated, movable, with the app's title and
// icon, where the desktop puts new windows; on Wayland its app id is the application's id, so a
// window rule can float it by the bar. Without a tray it also says, the first time, that no tray was
// found and how to get one. It is hidden, never destroyed, when closed or when it loses the focus
// (not without a tray: it is the app's only window then), and it tells the panel when it shows and
// hides. The panel's commands are the window's "win" actions; "app" ones come from the application.

#include "model/usage_model.h"
#include "ui/panel/panel_view.h"

#include <gtkmm/box.h>
#include <gtkmm/label.h>
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
    bool hidesOnFocusLoss() const { return hidesOnFocusLoss_ && trayPresent_; }

    // Whether there is a tray to open the panel from (taken as there until said otherwise). A
    // change shows from the next opening on.
    void setTrayPresent(bool present);
    // Whether it opens as a drop-down by the tray item (else as a window of its own).
    bool dropDown() const;
    // Whether the no-tray notice is showing.
    bool noTrayNoticeShown() const { return notice_.get_visible(); }

    PanelView& view() { return view_; }
    // Whether the card is drawn translucent (a compositor is running).
    bool translucent() const { return translucent_; }

  private:
    // Makes it a drop-down or a window, as dropDown() says; only while hidden.
    void applyForm();
    void updateTranslucency();
    void placeAfterMapping();
    void followHeight(int height);

    Gtk::Box column_{Gtk::Orientation::VERTICAL, 0};
    Gtk::Label notice_;
    PanelView view_;
    bool hidesOnFocusLoss_ = true;
    // Only an X11 client can place its own window; Wayland (and any other backend) cannot.
    bool x11_;
    bool trayPresent_ = true;
    bool noticeSaid_ = false; // said once; not again in this run
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
