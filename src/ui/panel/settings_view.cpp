#include "ui/panel/settings_view.h"

#include "ui/gauges/gauge_theme.h"

#include <gtkmm/shortcutaction.h>
#include <gtkmm/shortcutcontroller.h>
#include <gtkmm/shortcuttrigger.h>

namespace ostrel {

SettingsView::SettingsView(UsageModel& model)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 12), model_(model), theme_("Theme", "win.theme"),
      autostart_(Autostart(autostartFolderFor(model.settings().path()),
                           autostartProgram(installedBinary(), runningBinary()))),
      trayLayout_(model.settings()), support_("Support Ostrel", "win.support"),
      feedback_("Send Feedback", "win.feedback"), about_("About Ostrel", "app.about") {
    set_name("settings");
    set_halign(Gtk::Align::FILL);

    theme_.set_name("theme-row");
    append(theme_);
    append(autostart_);
    append(trayLayout_);
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
    about_.set_name("about-row");
    append(about_);
    append(bottomDivider_);

    refresh_.set_name("refresh");
    refresh_.set_label("Refresh");
    refresh_.add_css_class("small");
    refresh_.set_action_name("app.refresh");
    bottom_.append(refresh_);
    bottom_.append(clearHistory_);
    spacer_.set_hexpand(true);
    bottom_.append(spacer_);
    quit_.set_name("quit");
    quit_.set_label("Quit Ostrel");
    quit_.add_css_class("small");
    quit_.set_action_name("app.quit");
    bottom_.append(quit_);
    append(bottom_);
    append(clearHistory_.question());

    // Managed scope: the window hands these keys to the screen wherever the focus is. They belong to
    // its two buttons: GTK skips the shortcuts of an unmapped widget, so they are live only while the
    // screen is the stack's page on display.
    auto shortcuts = Gtk::ShortcutController::create();
    shortcuts->set_scope(Gtk::ShortcutScope::MANAGED);
    for (auto [trigger, action] :
         {std::pair{"<Control>r", "app.refresh"}, std::pair{"<Control>q", "app.quit"}})
        shortcuts->add_shortcut(Gtk::Shortcut::create(Gtk::ShortcutTrigger::parse_string(trigger),
                                                      Gtk::NamedAction::create(action)));
    add_controller(shortcuts);

    model_.changed.connect(sigc::mem_fun(*this, &SettingsView::update));
    update();
}

void SettingsView::update() {
    theme_.setValue(std::string(displayName(model_.settings().theme())));
    trayLayout_.update();
    for (auto& section : sections_)
        section->update();
}

} // namespace ostrel
