#pragma once
// The settings screen's "Clear history": removes the usage history the app keeps (readings, chart
// and forecast start over). Not shown when the app keeps no history.

#include "model/usage_model.h"

#include <gtkmm/button.h>

namespace ostrel {

class ClearHistoryButton : public Gtk::Button {
  public:
    explicit ClearHistoryButton(UsageModel& model);
};

} // namespace ostrel
