#include "ui/panel/panel_actions.h"

namespace ostrel::PanelActions {

namespace {
Task<void> refreshTask(UsageModel& model, ProviderID id) {
    co_await model.refresh(id);
}
Task<void> refreshAllTask(UsageModel& model) {
    co_await model.refreshAll();
}
Task<void> logOutTask(UsageModel& model, ProviderID id) {
    co_await model.logOut(id);
}
} // namespace

void refresh(UsageModel& model, ProviderID id) {
    spawn(refreshTask(model, id));
}

void refreshAll(UsageModel& model) {
    spawn(refreshAllTask(model));
}

void logOut(UsageModel& model, ProviderID id) {
    spawn(logOutTask(model, id));
}

} // namespace ostrel::PanelActions
