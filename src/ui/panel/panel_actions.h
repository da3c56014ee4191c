#pragma once
// The model calls the panel starts and does not wait for: each is a main-loop task on its own.

#include "model/usage_model.h"

namespace ostrel::PanelActions {

// The model owns these tasks: they end with it, never with the view that started them.
void refresh(UsageModel& model, ProviderID id);
// Every active service but one that asked to wait (a rate limit, a bot wall), which is left alone
// until its time, unless it has waited longer than the longest pause.
void refreshDue(UsageModel& model);
void logOut(UsageModel& model, ProviderID id);

} // namespace ostrel::PanelActions
