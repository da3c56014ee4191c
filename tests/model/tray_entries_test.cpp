#include "model/usage_model.h"
#include "scripted_model.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

class TrayEntries : public ::testing::Test, protected ScriptedModel {
  protected:
    void give(ProviderID id, double used, std::optional<std::chrono::seconds> resetIn) {
        succeed(id, snapshot(limit("main", used, resetIn)));
    }
};

} // namespace

TEST_F(TrayEntries, TextsLevelsAndSpokenForm) {
    settings.setResetTimeShown({ProviderID::claude, ProviderID::codex});
    give(ProviderID::claude, 92.4, 50min + 30s);
    give(ProviderID::cursor, 58, 3h);     // reset time not asked for
    give(ProviderID::codex, 20, 4 * 24h); // days only, past three
    EXPECT_EQ(model->trayEntries(),
              (std::vector<TrayEntry>{{ProviderID::claude, "8% · 50m", UsageLevel::low},
                                      {ProviderID::cursor, "42%", UsageLevel::medium},
                                      {ProviderID::codex, "80% · 4d", UsageLevel::veryHigh}}));
    EXPECT_EQ(model->trayAccessibilityText(),
              "Claude 8% left, resets in 50m, Cursor 42%, Codex 80% left, resets in 4d");
}
