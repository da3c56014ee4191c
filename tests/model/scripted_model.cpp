#include "scripted_model.h"

#include "support/loop.h"

#include <algorithm>

namespace ostrel::test {

using namespace std::chrono_literals;

ScriptedModel::ScriptedModel(std::vector<ProviderID> missing) {
    UsageModel::Providers providers;
    for (ProviderID id : allProviders) {
        if (std::find(missing.begin(), missing.end(), id) != missing.end()) continue;
        auto p = std::make_unique<ScriptedProvider>(id);
        scripted[id] = p.get();
        providers[id] = std::move(p);
    }
    model = std::make_unique<UsageModel>(settings, std::move(providers), clock, notifier, login);
}

ScriptedModel::~ScriptedModel() {
    drain(); // tasks the views started finish before the model goes
    model.reset();
}

void ScriptedModel::answer(ProviderID id, UsageSnapshot s) {
    provider(id).script.clear();
    provider(id).then(std::move(s));
}

void ScriptedModel::succeed(ProviderID id, UsageSnapshot s) {
    answer(id, std::move(s));
    refresh(id);
}

void ScriptedModel::refresh(ProviderID id) {
    runSync(model->refresh(id), 5s);
}

void ScriptedModel::advance(std::chrono::seconds by) {
    clock.advance(by);
    runSync(model->tick(), 5s);
}

UsageLimit ScriptedModel::limit(std::string id, double used,
                                std::optional<std::chrono::seconds> resetIn) const {
    UsageLimit l{id, id, used, std::nullopt};
    if (resetIn) l.resetsAt = clock.now() + *resetIn;
    return l;
}

UsageSnapshot ScriptedModel::snapshot(std::optional<UsageLimit> main, std::vector<UsageLimit> others) {
    return UsageSnapshot{std::move(main), false, std::move(others), std::nullopt, std::nullopt};
}

} // namespace ostrel::test
