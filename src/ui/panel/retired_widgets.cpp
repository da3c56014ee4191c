#include "ui/panel/retired_widgets.h"

namespace ostrel {

void RetiredWidgets::retire(std::unique_ptr<Gtk::Widget> widget) {
    if (!widget) return;
    widgets_.push_back(std::move(widget));
    if (idle_) return;
    idle_ = SourceId(g_idle_add(
        [](gpointer self) {
            auto* retired = static_cast<RetiredWidgets*>(self);
            retired->idle_.forget();
            // Moved out first: a destructor that retires another widget starts a fresh batch.
            auto doomed = std::move(retired->widgets_);
            retired->widgets_.clear();
            doomed.clear();
            return G_SOURCE_REMOVE;
        },
        this));
}

} // namespace ostrel
