#include "model/provider_state.h"

#include <algorithm>
#include <chrono>

namespace ostrel {

namespace {
// The service moved the reset time on, and there had been something to reset.
bool wasReset(const UsageLimit& before, const UsageLimit& now) {
    return before.resetsAt && now.resetsAt && *now.resetsAt > *before.resetsAt + std::chrono::seconds(60) &&
           before.percentUsed > 0;
}
} // namespace

void applyNotificationRules(ProviderID id, ProviderState& state,
                            const std::optional<UsageLimit>& previousMain,
                            const std::vector<UsageLimit>& previousOthers, const UsageSnapshot& fresh,
                            Notifier& notifier) {
    if (fresh.main && !fresh.mainNotStarted) {
        const UsageLimit& m = *fresh.main;
        const double left = m.percentLeft();
        if (!previousMain) {
            state.notifiedBelow50 = left < 50;
            state.notifiedBelow10 = left < 10;
        } else if (wasReset(*previousMain, m)) {
            notifier.notifyReset(id, m);
            state.notifiedBelow50 = false;
            state.notifiedBelow10 = false;
        } else if (left < 10 && !state.notifiedBelow10) {
            notifier.notifyBelow10(id, m);
            state.notifiedBelow10 = true;
            state.notifiedBelow50 = true;
        } else if (left < 50 && !state.notifiedBelow50) {
            notifier.notifyBelow50(id, m);
            state.notifiedBelow50 = true;
        }
    }

    for (const UsageLimit& o : fresh.others) {
        const double left = o.percentLeft();
        auto prev = std::find_if(previousOthers.begin(), previousOthers.end(),
                                 [&](const UsageLimit& p) { return p.id == o.id; });
        if (prev != previousOthers.end()) {
            if (wasReset(*prev, o)) {
                state.notifiedBelow10Others.erase(o.id);
                continue;
            }
            if (left < 10 && !state.notifiedBelow10Others.contains(o.id)) {
                notifier.notifyBelow10(id, o);
                state.notifiedBelow10Others.insert(o.id);
            }
        } else if (left < 10) {
            state.notifiedBelow10Others.insert(o.id);
        }
    }
}

} // namespace ostrel
