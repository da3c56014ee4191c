#pragma once
// One secondary limit in one caption-sized line: "Weekly: 63% left · Resets Thu 9:30 PM".

#include "base/usage.h"

#include <gtkmm/box.h>
#include <gtkmm/label.h>

namespace ostrel {

class LimitRow : public Gtk::Box {
  public:
    explicit LimitRow(const UsageLimit& limit);

    // The row's words joined by single spaces, as a reader would say them.
    std::string text() const;

  private:
    Gtk::Label title_;
    Gtk::Label figure_;
    Gtk::Label dot_;
    Gtk::Label reset_;
};

} // namespace ostrel
