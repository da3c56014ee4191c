#include "ui/panel/clear_history_button.h"

#include "model/usage_history.h"

namespace ostrel {

ClearHistoryButton::ClearHistoryButton(UsageModel& model)
    : question_("clear-history", "Clear the usage history of every service?", "Clear", [&model] {
          if (UsageHistory* history = model.history()) history->clear();
      }) {
    set_name("clear-history");
    set_label("Clear history");
    add_css_class("small");
    set_margin_start(8);
    set_visible(model.history() != nullptr);
    signal_clicked().connect([this] { question_.ask(); });
}

} // namespace ostrel
