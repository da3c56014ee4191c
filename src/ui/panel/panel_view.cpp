#include "ui/panel/panel_view.h"

#include "ui/panel/panel_actions.h"
#include "ui/panel/panel_rules.h"
#include "ui/panel/panel_style.h"
#include "ui/panel/work_area.h"
#include "ui/support/feedback_view.h"
#include "ui/support/support_amount_view.h"
#include "ui/support/support_qr_view.h"

#include <algorithm>
#include <gtkmm/shortcutaction.h>
#include <gtkmm/shortcutcontroller.h>
#include <gtkmm/shortcuttrigger.h>

namespace ostrel {

namespace {

const char* pageName(PanelScreen screen) {
    switch (screen) {
    case PanelScreen::main:
        return "main";
    case PanelScreen::settings:
        return "settings";
    case PanelScreen::theme:
        return "theme";
    case PanelScreen::support:
        return "support";
    case PanelScreen::supportQR:
        return "support-qr";
    case PanelScreen::feedback:
        return "feedback";
    }
    return "main";
}

} // namespace

PanelView::PanelView(UsageModel& model, std::string feedbackEndpoint)
    : Glib::ObjectBase("OstrelPanelView"), model_(model), feedbackEndpoint_(std::move(feedbackEndpoint)),
      actions_(Gio::SimpleActionGroup::create()), main_(model), settings_(model) {
    set_name("panel");
    PanelStyle::apply(*this);
    add_css_class("ostrel-card");

    column_.set_margin(padding);
    column_.set_parent(*this);
    column_.append(header_);
    // The panel is as tall as the screen shown, not as the tallest one.
    pages_.set_hhomogeneous(false);
    pages_.set_vhomogeneous(false);
    pages_.add(main_, pageName(PanelScreen::main));
    pages_.add(settings_, pageName(PanelScreen::settings));
    // A screen taller than the panel may be scrolls under the header; one that fits shows whole.
    viewport_.set_scroll_to_focus(true);
    viewport_.set_child(pages_);
    scroller_.set_name("screen-scroller");
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller_.set_propagate_natural_height(true);
    scroller_.set_propagate_natural_width(true);
    scroller_.set_vexpand(true);
    scroller_.set_has_frame(false);
    scroller_.set_child(viewport_);
    column_.append(scroller_);
    installActions();
}

PanelView::~PanelView() {
    for (Gtk::Widget* page :
         {static_cast<Gtk::Widget*>(&main_), static_cast<Gtk::Widget*>(&settings_),
          static_cast<Gtk::Widget*>(theme_.get()), support_.get(), supportQR_.get(), feedback_.get()})
        if (page) pages_.remove(*page);
    viewport_.unset_child();
    scroller_.unset_child();
    column_.unparent();
}

void PanelView::installActions() {
    actions_->add_action("settings", [this] { setScreen(PanelScreen::settings); });
    actions_->add_action("back", [this] {
        if (!goBack()) closeRequested.emit();
    });
    actions_->add_action("theme", [this] { setScreen(PanelScreen::theme); });
    actions_->add_action("support", [this] { setScreen(PanelScreen::support); });
    actions_->add_action("feedback", [this] { setScreen(PanelScreen::feedback); });

    // Managed scope: the window hands these keys to the panel wherever the focus is. A disabled
    // action lets its key pass (Ctrl+comma off the main screen).
    auto shortcuts = Gtk::ShortcutController::create();
    shortcuts->set_scope(Gtk::ShortcutScope::MANAGED);
    shortcuts->add_shortcut(Gtk::Shortcut::create(Gtk::ShortcutTrigger::parse_string("Escape"),
                                                  Gtk::NamedAction::create("win.back")));
    shortcuts->add_shortcut(Gtk::Shortcut::create(Gtk::ShortcutTrigger::parse_string("<Control>comma"),
                                                  Gtk::NamedAction::create("win.settings")));
    add_controller(shortcuts);
    setScreen(PanelScreen::main);
}

void PanelView::setScreen(PanelScreen screen) {
    const bool main = screen == PanelScreen::main;
    std::dynamic_pointer_cast<Gio::SimpleAction>(actions_->lookup_action("settings"))->set_enabled(main);
    if (screen == screen_ && pages_.get_visible_child()) return;
    screen_ = screen;
    header_.show(screen);
    pages_.set_visible_child(enter(screen));
    scroller_.get_vadjustment()->set_value(0); // a screen opens at its top
}

void PanelView::setHeightLimit(std::optional<int> limit) {
    heightLimit_ = limit;
    queue_resize();
}

Gtk::Widget& PanelView::enter(PanelScreen screen) {
    switch (screen) {
    case PanelScreen::main:
        break;
    case PanelScreen::settings:
        return settings_;
    case PanelScreen::theme:
        if (theme_) {
            theme_->startAt(currentPercentLeft());
        } else {
            theme_ = std::make_unique<ThemePickerView>(model_.settings(), currentPercentLeft());
            pages_.add(*theme_, pageName(screen));
        }
        return *theme_;
    case PanelScreen::support:
        return renew(support_, screen, std::make_unique<SupportAmountView>([this](double amount) {
                         supportAmount_ = amount;
                         setScreen(PanelScreen::supportQR);
                     }));
    case PanelScreen::supportQR:
        return renew(supportQR_, screen, std::make_unique<SupportQRView>(supportAmount_));
    case PanelScreen::feedback:
        return renew(feedback_, screen, std::make_unique<FeedbackView>(feedbackEndpoint_));
    }
    return main_;
}

Gtk::Widget& PanelView::renew(std::unique_ptr<Gtk::Widget>& slot, PanelScreen screen,
                              std::unique_ptr<Gtk::Widget> page) {
    if (slot) pages_.remove(*slot);
    slot = std::move(page);
    pages_.add(*slot, pageName(screen));
    return *slot;
}

bool PanelView::goBack() {
    const auto target = backTarget(screen_);
    if (!target) return false;
    setScreen(*target);
    return true;
}

void PanelView::panelShown() {
    setScreen(PanelScreen::main);
    // Opening the panel is no Refresh: a service that asked us to wait is not asked again early.
    PanelActions::refreshDue(model_);
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
    // Never taller than the screen allows: what does not fit scrolls.
    const int limit = heightLimit_.value_or(WorkArea::panelHeightLimit(*this, minimumHeight));
    natural = std::min(childNat, std::max(limit, childMin));
    minimum = childMin;
}

void PanelView::size_allocate_vfunc(int w, int h, int baseline) {
    column_.size_allocate(Gtk::Allocation(0, 0, w, h), baseline);
}

} // namespace ostrel
