#include "ui/panel/panel_view.h"

#include "ui/panel/main_screen.h"
#include "ui/panel/panel_actions.h"
#include "ui/panel/panel_rules.h"
#include "ui/panel/panel_style.h"
#include "ui/panel/settings_view.h"
#include "ui/panel/theme_picker_view.h"
#include "ui/support/feedback_view.h"
#include "ui/support/support_amount_view.h"
#include "ui/support/support_qr_view.h"

#include <algorithm>
#include <gtkmm/shortcutaction.h>
#include <gtkmm/shortcutcontroller.h>
#include <gtkmm/shortcuttrigger.h>

namespace ostrel {

PanelView::PanelView(UsageModel& model, std::function<void()> quit, std::string feedbackEndpoint)
    : Glib::ObjectBase("OstrelPanelView"), model_(model), quit_(std::move(quit)),
      feedbackEndpoint_(std::move(feedbackEndpoint)),
      header_([this] { goBack(); }, [this] { setScreen(PanelScreen::settings); }) {
    set_name("panel");
    PanelStyle::apply(*this);
    add_css_class("ostrel-card");

    column_.set_margin(padding);
    column_.set_parent(*this);
    column_.append(header_);
    body_ = makeScreen(screen_);
    column_.append(*body_);
    installShortcuts();
}

PanelView::~PanelView() {
    column_.remove(*body_);
    column_.unparent();
}

void PanelView::installShortcuts() {
    // Managed scope: the window hands these keys to the panel wherever the focus is.
    auto shortcuts = Gtk::ShortcutController::create();
    shortcuts->set_scope(Gtk::ShortcutScope::MANAGED);
    shortcuts->add_shortcut(Gtk::Shortcut::create(
        Gtk::ShortcutTrigger::parse_string("Escape"),
        Gtk::CallbackAction::create([this](Gtk::Widget&, const Glib::VariantBase&) { return goBack(); })));
    shortcuts->add_shortcut(
        Gtk::Shortcut::create(Gtk::ShortcutTrigger::parse_string("<Control>comma"),
                              Gtk::CallbackAction::create([this](Gtk::Widget&, const Glib::VariantBase&) {
                                  if (screen_ != PanelScreen::main) return false;
                                  setScreen(PanelScreen::settings);
                                  return true;
                              })));
    add_controller(shortcuts);
}

void PanelView::setScreen(PanelScreen screen) {
    if (screen == screen_) return;
    screen_ = screen;
    header_.show(screen);
    column_.remove(*body_);
    // The old screen may be the one whose button asked for this change: let its handler finish.
    retired_.retire(std::move(body_));
    body_ = makeScreen(screen);
    column_.append(*body_);
}

bool PanelView::goBack() {
    const auto target = backTarget(screen_);
    if (!target) return false;
    setScreen(*target);
    return true;
}

void PanelView::panelShown() {
    setScreen(PanelScreen::main);
    PanelActions::refreshAll(model_);
}

void PanelView::panelHidden() {
    setScreen(PanelScreen::main);
}

std::optional<ProviderID> PanelView::selected() const {
    return chooseSelected(model_.tabProviders(), model_.settings().selectedProvider());
}

std::optional<double> PanelView::currentPercentLeft() const {
    const auto id = selected();
    if (!id) return std::nullopt;
    return mainPercentLeft(model_.state(*id));
}

void PanelView::setOpaqueCard(bool opaque) {
    if (opaque)
        add_css_class("opaque");
    else
        remove_css_class("opaque");
}

MainScreen* PanelView::mainScreen() const {
    return dynamic_cast<MainScreen*>(body_.get());
}

std::unique_ptr<Gtk::Widget> PanelView::makeScreen(PanelScreen screen) {
    switch (screen) {
    case PanelScreen::main:
        return std::make_unique<MainScreen>(model_);
    case PanelScreen::settings:
        return std::make_unique<SettingsView>(
            model_, SettingsView::Actions{[this] { setScreen(PanelScreen::theme); },
                                          [this] { setScreen(PanelScreen::support); },
                                          [this] { setScreen(PanelScreen::feedback); },
                                          [this] {
                                              if (quit_) quit_();
                                          }});
    case PanelScreen::theme:
        return std::make_unique<ThemePickerView>(model_.settings(), currentPercentLeft());
    case PanelScreen::support:
        return std::make_unique<SupportAmountView>([this](double amount) {
            supportAmount_ = amount;
            setScreen(PanelScreen::supportQR);
        });
    case PanelScreen::supportQR:
        return std::make_unique<SupportQRView>(supportAmount_);
    case PanelScreen::feedback:
        return std::make_unique<FeedbackView>(feedbackEndpoint_);
    }
    return std::make_unique<MainScreen>(model_);
}

Gtk::SizeRequestMode PanelView::get_request_mode_vfunc() const {
    return Gtk::SizeRequestMode::HEIGHT_FOR_WIDTH;
}

void PanelView::measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                              int& minimumBaseline, int& naturalBaseline) const {
    minimumBaseline = naturalBaseline = -1;
    int childMin = 0, childNat = 0, b1 = -1, b2 = -1;
    if (orientation == Gtk::Orientation::HORIZONTAL) {
        column_.measure(orientation, -1, childMin, childNat, b1, b2);
        // The card is always the panel's width; long texts wrap inside it instead of widening it.
        minimum = natural = std::max(width, childMin);
        return;
    }
    const int at = forSize < 0 ? width : std::max(forSize, width);
    column_.measure(orientation, at, childMin, childNat, b1, b2);
    minimum = childMin;
    natural = childNat;
}

void PanelView::size_allocate_vfunc(int w, int h, int baseline) {
    column_.size_allocate(Gtk::Allocation(0, 0, w, h), baseline);
}

} // namespace ostrel
