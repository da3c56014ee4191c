#include "ui/panel/panel_actions.h"

namespace ostrel::PanelActions {

void refresh(UsageModel& model, ProviderID id) {
    spawn(model.refresh(id));
}

void refreshAll(UsageModel& model) {
    spawn(model.refreshAll());
}

void logOut(UsageModel& model, ProviderID id) {
    spawn(model.logOut(id));
}

} // namespace ostrel::PanelActions
