#pragma once
// The two kinds of row the settings screen is made of: a full-width plain button that leads to
// another screen ("Theme  Glass  ›") through a named action, and a labelled switch.

#include "ui/panel/symbol.h"

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/switch.h>
#include <string>

namespace ostrel {

class NavigationRow : public Gtk::Button {
  public:
    NavigationRow(const std::string& text, const char* actionName);

    // The value shown before the chevron in the secondary colour; empty shows none.
    void setValue(const std::string& value);
    std::string value() const { return value_.get_text(); }

  private:
    Gtk::Box row_{Gtk::Orientation::HORIZONTAL, 6};
    Gtk::Label text_;
    Gtk::Label value_;
    Symbol chevron_{Symbol::Kind::chevronRight, 11, 1.3};
};

class SwitchRow : public Gtk::Box {
  public:
    // `onToggle` hears only the user's changes, never those made through setActive.
    SwitchRow(const std::string& text, std::function<void(bool)> onToggle);

    void setActive(bool active);
    bool active() const { return switch_.get_active(); }
    Gtk::Switch& control() { return switch_; }

  private:
    Gtk::Label text_;
    Gtk::Switch switch_;
    std::function<void(bool)> onToggle_;
    bool updating_ = false;
};

} // namespace ostrel
