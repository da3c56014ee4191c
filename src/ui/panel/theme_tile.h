#pragma once
// One theme in the picker: a live miniature gauge and the theme's name, with a check mark, a
// semibold name and an accent border when it is the chosen theme.

#include "ui/gauges/gauge_view.h"
#include "ui/panel/symbol.h"

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>

namespace ostrel {

class ThemeTile : public Gtk::Button {
  public:
    ThemeTile(GaugeTheme theme, std::function<void(GaugeTheme)> choose);

    void setSelected(bool selected);
    void setPreview(double percent);

    GaugeTheme theme() const { return theme_; }
    bool selected() const { return selected_; }
    GaugeView& gauge() { return gauge_; }
    bool showsCheckmark() const { return check_.get_visible(); }

  private:
    GaugeTheme theme_;
    bool selected_ = false;
    Gtk::Box column_{Gtk::Orientation::VERTICAL, 8};
    Gtk::Box frame_;
    GaugeView gauge_;
    Gtk::Box nameRow_{Gtk::Orientation::HORIZONTAL, 4};
    Symbol check_{Symbol::Kind::checkCircle, 11};
    Gtk::Label name_;
};

} // namespace ostrel
