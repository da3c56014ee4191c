#pragma once
// A real UsageModel over scripted providers, a manual clock and a private settings file: what the
// model's own tests and the panel's widget tests drive.

#include "model/usage_model.h"
#include "model_doubles.h"
#include "support/manual_clock.h"
#include "support/test_env.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::test {

// A real model over scripted providers. Providers listed in `missing` have no provider object.
class ScriptedModel {
  public:
    explicit ScriptedModel(std::vector<ProviderID> missing = {});
    ~ScriptedModel();

    ScriptedProvider& provider(ProviderID id) { return *scripted.at(id); }
    // What the service answers from now on.
    void answer(ProviderID id, UsageSnapshot snapshot);
    // Scripts the answer and runs one refresh of `id` to its end.
    void succeed(ProviderID id, UsageSnapshot snapshot);
    template <typename E> void fail(ProviderID id, E error) {
        provider(id).script.clear();
        provider(id).thenThrow(std::move(error));
        refresh(id);
    }
    void refresh(ProviderID id);
    // Moves the clock and runs the model's 30-second tick.
    void advance(std::chrono::seconds by);

    UsageLimit limit(std::string id, double used, std::optional<std::chrono::seconds> resetIn = {}) const;
    static UsageSnapshot snapshot(std::optional<UsageLimit> main, std::vector<UsageLimit> others = {});

    // What the settings file holds now.
    std::string settingsFile() const { return readFile(settings.path()); }

    TempDir dir;
    AppSettings settings{dir.file("settings.ini")};
    ManualClock clock{std::chrono::system_clock::now()};
    RecordingNotifier notifier;
    RecordingLogin login;
    std::map<ProviderID, ScriptedProvider*> scripted;
    std::unique_ptr<UsageModel> model;
};

} // namespace ostrel::test
