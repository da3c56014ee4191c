#include "model/usage_model.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/test_env.h"

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
    give(ProviderID::cursor, 58, 3h);          // reset time not asked for
    give(ProviderID::codex, 20, std::nullopt); // asked for, but there is none
    const auto items = model->trayEntries();
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0], (TrayEntry{ProviderID::claude, "8% · 50m", UsageLevel::low}));
    EXPECT_EQ(items[1], (TrayEntry{ProviderID::cursor, "42%", UsageLevel::medium}));
    EXPECT_EQ(items[2], (TrayEntry{ProviderID::codex, "80%", UsageLevel::veryHigh}));
    EXPECT_EQ(model->trayAccessibilityText(), "Claude 8% left, resets in 50m, Cursor 42%, Codex 80%");
}

TEST_F(TrayEntries, FailuresKeepNumbersButALostLoginHidesThem) {
    settings.setResetTimeShown({ProviderID::claude});
    give(ProviderID::claude, 50, 4 * 24h);
    EXPECT_EQ(model->trayEntries()[0].text, "50% · 4d");
    scripted[ProviderID::claude]->script.clear();
    scripted[ProviderID::claude]->thenThrow(WebError("offline"));
    runSync(model->refresh(ProviderID::claude), 5s);
    ASSERT_EQ(model->trayEntries().size(), 1u) << "an error keeps the last numbers on show";
    scripted[ProviderID::claude]->script.clear();
    scripted[ProviderID::claude]->thenThrow(ProviderError::needsLogin());
    runSync(model->refresh(ProviderID::claude), 5s);
    EXPECT_TRUE(model->trayEntries().empty());
    EXPECT_EQ(model->trayAccessibilityText(), "Ostrel") << "nothing to show";
    give(ProviderID::cursor, 10, std::nullopt);
    settings.setEnabled({});
    EXPECT_TRUE(model->trayEntries().empty()) << "a service that is not tracked is not shown";
}

TEST_F(TrayEntries, TheCountdownMovesWithTheModelsClock) {
    give(ProviderID::claude, 10, 2h + 5min);
    EXPECT_EQ(model->trayEntries()[0].text, "90% · 2h 5m");
    clock.advance(30min);
    EXPECT_EQ(model->trayEntries()[0].text, "90% · 2h 5m") << "only the tick moves the model's now";
    runSync(model->tick(), 5s);
    EXPECT_EQ(model->trayEntries()[0].text, "90% · 1h 35m");
}
