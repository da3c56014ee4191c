#include "ui/panel/panel_window.h"

#include "ui/panel/panel_style.h"
#include "ui/panel/x11_placement.h"

namespace ostrel {

PanelWindow::PanelWindow(UsageModel& model, std::string feedbackEndpoint)
    : view_(model, std::move(feedbackEndpoint)), x11_(X11Placement::onX11Display(*this)) {
    set_title("Ostrel");
    set_icon_name("app.ostrel.Ostrel");
    set_resizable(false); // the window follows the content's height as screens change
    set_hide_on_close(true);
    set_default_size(PanelView::width, -1);
    add_css_class("ostrel-panel-window");
    PanelStyle::install(*this);
    notice_.set_text("No system tray was found, so Ostrel opens as a window. On GNOME, the AppIndicator "
                     "extension (package gnome-shell-extension-appindicator) adds one; Ostrel moves into "
                     "the tray as soon as there is one.");
    notice_.set_wrap(true);
    notice_.set_xalign(0);
    notice_.set_margin(PanelView::padding);
    notice_.set_margin_bottom(0);
    notice_.add_css_class("dim-label");
    notice_.set_visible(false);
    column_.append(notice_);
    column_.append(view_);
    set_child(column_);
    insert_action_group("win", view_.actions());
    applyForm();

    signal_show().connect([this] { view_.panelShown(); });
    view_.closeRequested.connect([this] { hide(); });
    signal_hide().connect([this] {
        wasActive_ = false;
        if (notice_.get_visible()) noticeSaid_ = true;
        view_.panelHidden();
        applyForm();
    });
    signal_map().connect([this] { placeAfterMapping(); });
    signal_realize().connect([this] {
        X11Placement::markAsDropDown(*this, dropDown());
        surfaceLayout_ =
            get_surface()->signal_layout().connect([this](int, int height) { followHeight(height); });
    });
    signal_unrealize().connect([this] { surfaceLayout_.disconnect(); });
    property_is_active().signal_changed().connect([this] {
        // Only a focus the window had and lost counts: without a window manager it may never get one.
        if (is_active()) {
            wasActive_ = true;
        } else if (wasActive_ && hidesOnFocusLoss() && get_visible()) {
            focusLostAt_ = g_get_monotonic_time();
            hide();
        }
    });

    compositedChanged_ =
        get_display()->property_composited().signal_changed().connect([this] { updateTranslucency(); });
    updateTranslucency();
}

PanelWindow::~PanelWindow() {
    compositedChanged_.disconnect();
    surfaceLayout_.disconnect();
    if (gobj()) unset_child(); // the view goes first, so the window must let go of it (unless destroyed)
    column_.remove(view_);
    column_.remove(notice_);
}

void PanelWindow::setTrayPresent(bool present) {
    if (present == trayPresent_) return;
    trayPresent_ = present;
    if (!get_visible()) applyForm();
}

bool PanelWindow::dropDown() const {
    return trayPresent_ && x11_;
}

void PanelWindow::applyForm() {
    const bool drop = dropDown();
    set_decorated(!drop);
    notice_.set_visible(!trayPresent_ && !noticeSaid_);
    X11Placement::markAsDropDown(*this, drop);
    updateTranslucency();
}

void PanelWindow::updateTranslucency() {
    // Without a compositor the transparent corners would come out black: draw a solid card. A
    // window of its own is drawn solid too, filling its frame.
    translucent_ = get_display()->is_composited() && dropDown();
    view_.setOpaqueCard(!translucent_);
    if (translucent_)
        remove_css_class("opaque");
    else
        add_css_class("opaque");
}

void PanelWindow::popup(Pointer nearPointer) {
    pendingPointer_ = nearPointer;
    if (!nearPointer) placedBy_.reset();
    if (get_mapped()) placeAfterMapping();
    present();
}

bool PanelWindow::hidByFocusLossJustNow() const {
    // Long enough for a host to pass the click on over the bus, short enough not to swallow the
    // next deliberate click.
    return focusLostAt_ != 0 && g_get_monotonic_time() - focusLostAt_ < 400 * G_TIME_SPAN_MILLISECOND;
}

void PanelWindow::placeAfterMapping() {
    if (!pendingPointer_ || !dropDown()) return;
    placedBy_ = std::exchange(pendingPointer_, std::nullopt);
    placedHeight_ = get_height();
    X11Placement::moveNear(*this, {placedBy_->first, placedBy_->second});
}

void PanelWindow::followHeight(int height) {
    if (!placedBy_ || !dropDown() || !get_mapped() || height == placedHeight_) return;
    placedHeight_ = height;
    X11Placement::moveNear(*this, {placedBy_->first, placedBy_->second});
}

} // namespace ostrel
