#pragma once
// The settings screen's "Clear history": removes the usage history the app keeps (readings, chart
// and forecast start over), once the user has answered its question. Not shown when the app keeps
// no history.

#include "model/usage_model.h"
#include "ui/panel/confirm_row.h"

#include <gtkmm/button.h>

namespace ostrel {

class ClearHistoryButton : public Gtk::Button {
  public:
    explicit ClearHistoryButton(UsageModel& model);

    // The question the button asks, for its owner to place (the button's row has no room for it).
    ConfirmRow& question() { return question_; }

  private:
    ConfirmRow question_;
};

} // namespace ostrel
