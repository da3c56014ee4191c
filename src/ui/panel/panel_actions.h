#pragma once
// The model calls the panel starts and does not wait for: each is a main-loop task on its own.

#include "model/usage_model.h"

namespace ostrel::PanelActions {

// The model outlives every view of the panel, so the tasks may hold it by reference.
void refresh(UsageModel& model, ProviderID id);
void refreshAll(UsageModel& model);
void logOut(UsageModel& model, ProviderID id);

} // namespace ostrel::PanelActions
