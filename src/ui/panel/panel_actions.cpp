#include "ui/panel/panel_actions.h"

namespace ostrel::PanelActions {

void refresh(UsageModel& model, ProviderID id) {
    model.runOwned(model.refresh(id));
}

void refreshAll(UsageModel& model) {
    model.runOwned(model.refreshAll());
}

void logOut(UsageModel& model, ProviderID id) {
    model.runOwned(model.logOut(id));
}

} // namespace ostrel::PanelActions
