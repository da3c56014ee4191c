#include "ui/panel/tray_layout_row.h"

#include "ui/common/a11y.h"

#include <array>
#include <gtkmm/stringlist.h>

namespace ostrel {

namespace {
// In the order of the list.
constexpr std::array layouts{TrayLayout::automatic, TrayLayout::label, TrayLayout::perService};
} // namespace

TrayLayoutRow::TrayLayoutRow(AppSettings& settings)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 8), settings_(settings),
      choice_(Gtk::StringList::create({"Automatic", "One label", "One icon per service"})) {
    set_name("tray-layout");
    text_.set_text("Tray");
    text_.set_hexpand(true);
    text_.set_xalign(0);
    append(text_);
    choice_.set_name("tray-layout-choice");
    choice_.set_valign(Gtk::Align::CENTER);
    A11y::labelBy(choice_, text_);
    choice_.property_selected().signal_changed().connect([this] {
        const guint i = choice_.get_selected();
        if (!updating_ && i < layouts.size() && layouts[i] != settings_.trayLayout())
            settings_.setTrayLayout(layouts[i]);
    });
    append(choice_);
    update();
}

void TrayLayoutRow::update() {
    updating_ = true;
    for (guint i = 0; i < layouts.size(); ++i)
        if (layouts[i] == settings_.trayLayout()) choice_.set_selected(i);
    updating_ = false;
}

} // namespace ostrel
