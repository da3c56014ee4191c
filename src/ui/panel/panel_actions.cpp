#include "ui/panel/panel_actions.h"

namespace ostrel::PanelActions {

void refresh(UsageModel& model, ProviderID id) {
    model.runOwned(model.refresh(id));
}

void refreshDue(UsageModel& model) {
    model.runOwned(model.refreshOnOpen());
}

void logOut(UsageModel& model, ProviderID id) {
    model.runOwned(model.logOut(id));
}

} // namespace ostrel::PanelActions
