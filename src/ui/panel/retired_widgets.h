#pragma once
// Widgets taken off screen from inside one of their own signal handlers (a "Retry" that replaces the
// picture it sits in, a settings row that changes the screen) must outlive that handler. They are
// kept here and released once the main loop is idle again.

#include "base/gobject_ptr.h"

#include <gtkmm/widget.h>
#include <memory>
#include <vector>

namespace ostrel {

class RetiredWidgets {
  public:
    RetiredWidgets() = default;
    RetiredWidgets(const RetiredWidgets&) = delete;
    RetiredWidgets& operator=(const RetiredWidgets&) = delete;

    // Takes `widget` (already removed from its parent) and releases it on the next idle turn.
    void retire(std::unique_ptr<Gtk::Widget> widget);

  private:
    std::vector<std::unique_ptr<Gtk::Widget>> widgets_;
    SourceId idle_;
};

} // namespace ostrel
