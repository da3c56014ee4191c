#include "ui/panel/settings_view.h"

#include "ui/gauges/gauge_theme.h"
#include "ui/panel/panel_actions.h"

#include <gtkmm/shortcutaction.h>
#include <gtkmm/shortcutcontroller.h>
#include <gtkmm/shortcuttrigger.h>

namespace ostrel {

namespace {

void addShortcut(const Glib::RefPtr<Gtk::ShortcutController>& controller, const char* trigger,
                 std::function<void()> action) {
    controller->add_shortcut(Gtk::Shortcut::create(
        Gtk::ShortcutTrigger::parse_string(trigger),
        Gtk::CallbackAction::create([action = std::move(action)](Gtk::Widget&, const Glib::VariantBase&) {
            action();
            return true;
        })));
}

void run(const std::function<void()>& action) {
    if (action) action();
}

} // namespace

SettingsView::SettingsView(UsageModel& model, Actions actions)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 12), model_(model), actions_(std::move(actions)),
      theme_("Theme", [this] { run(actions_.openTheme); }),
      support_("Support Ostrel", [this] { run(actions_.openSupport); }),
      feedback_("Send Feedback", [this] { run(actions_.openFeedback); }) {
    set_name("settings");
    set_halign(Gtk::Align::FILL);

    theme_.set_name("theme-row");
    append(theme_);
    append(themeDivider_);

    for (std::size_t i = 0; i < allProviders.size(); ++i) {
        sections_[i] = std::make_unique<ServiceSection>(model, allProviders[i]);
        append(*sections_[i]);
        sectionDividers_[i].set_margin_top(8);
        sectionDividers_[i].set_margin_bottom(8);
        append(sectionDividers_[i]);
    }

    support_.set_name("support-row");
    append(support_);
    feedback_.set_name("feedback-row");
    append(feedback_);
    append(bottomDivider_);

    refresh_.set_name("refresh");
    refresh_.set_label("Refresh");
    refresh_.add_css_class("small");
    refresh_.signal_clicked().connect([&model] { PanelActions::refreshAll(model); });
    bottom_.append(refresh_);
    bottom_.append(clearHistory_);
    spacer_.set_hexpand(true);
    bottom_.append(spacer_);
    quit_.set_name("quit");
    quit_.set_label("Quit Ostrel");
    quit_.add_css_class("small");
    quit_.signal_clicked().connect([this] { run(actions_.quit); });
    bottom_.append(quit_);
    append(bottom_);

    // Managed scope: the window hands these keys to the screen wherever the focus is.
    auto shortcuts = Gtk::ShortcutController::create();
    shortcuts->set_scope(Gtk::ShortcutScope::MANAGED);
    addShortcut(shortcuts, "<Control>r", [&model] { PanelActions::refreshAll(model); });
    addShortcut(shortcuts, "<Control>q", [this] { run(actions_.quit); });
    add_controller(shortcuts);

    model_.changed.connect(sigc::mem_fun(*this, &SettingsView::update));
    update();
}

void SettingsView::update() {
    theme_.setValue(std::string(displayName(model_.settings().theme())));
    for (auto& section : sections_)
        section->update();
}

} // namespace ostrel
