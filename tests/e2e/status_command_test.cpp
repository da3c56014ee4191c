// `ostrel status` against a running app's status export on a private bus: each format without a fetch,
// following changes until the app goes away, and no app at all. What each format says is tested with
// the model in tests/model.
#include "app/status_cli.h"
#include "app/status_service.h"
#include "base/log.h"
#include "model/status_json.h"
#include "model/usage_history.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/private_bus.h"

#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using test::ScriptedModel;

// Runs `f` once on the main loop after `ms`.
void after(unsigned ms, std::function<void()> f) {
    using F = std::function<void()>;
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, ms,
        +[](gpointer p) -> gboolean { return (*static_cast<F*>(p))(), G_SOURCE_REMOVE; }, new F(std::move(f)),
        +[](gpointer p) { delete static_cast<F*>(p); });
}

class StatusCommand : public ::testing::Test {
  protected:
    void SetUp() override {
        m_.succeed(ProviderID::claude,
                   ScriptedModel::snapshot(m_.limit("session", 57, 2h), {m_.limit("weekly", 20)}));
        service_ = std::make_unique<StatusService>(appBus_.get(), *m_.model, &history_);
    }
    ~StatusCommand() override {
        if (owner_) g_bus_unown_name(owner_);
    }

    // The app: its status object, and the app's name on the same connection.
    void startApp() {
        ASSERT_TRUE(service_->registered());
        bool owned = false;
        owner_ = g_bus_own_name_on_connection(
            appBus_.get(), "app.ostrel.Ostrel", G_BUS_NAME_OWNER_FLAGS_NONE,
            +[](GDBusConnection*, const char*, gpointer flag) { *static_cast<bool*>(flag) = true; }, nullptr,
            &owned, nullptr);
        ASSERT_TRUE(runLoopUntil([&] { return owned; }, 5s));
    }
    int status(std::vector<std::string> args, GCancellable* stop = nullptr) {
        out_.str("");
        err_.str("");
        std::string error;
        auto request = parseStatusArgs(args, error);
        EXPECT_TRUE(request) << error;
        return runStatus(*request, cliBus_.get(), out_, err_, stop);
    }

    ScopedLogSink quiet_{[](const std::string&) {}};
    ScriptedModel m_;
    UsageHistory history_{*m_.model, m_.dir.file("history.sqlite")};
    test::PrivateBus bus_;
    GObjectPtr<GDBusConnection> appBus_ = bus_.connect();
    GObjectPtr<GDBusConnection> cliBus_ = bus_.connect();
    std::unique_ptr<StatusService> service_;
    unsigned owner_ = 0;
    std::ostringstream out_, err_;
};

TEST_F(StatusCommand, PrintsEachFormatWithoutFetching) {
    startApp();
    const int fetches = m_.provider(ProviderID::claude).fetches;
    const std::pair<std::vector<std::string>, std::string> formats[] = {
        {{}, m_.model->trayAccessibilityText()},
        {{"--json"}, statusJson(*m_.model, &history_, m_.model->now())},
        {{"--waybar"}, waybarJson(*m_.model, &history_)},
    };
    for (const auto& [args, printed] : formats) {
        ASSERT_EQ(status(args), 0) << err_.str();
        EXPECT_EQ(out_.str(), printed + "\n");
    }
    EXPECT_TRUE(err_.str().empty());
    test::drain();
    EXPECT_EQ(m_.provider(ProviderID::claude).fetches, fetches) << "asking for the status fetches nothing";
    std::string error;
    EXPECT_FALSE(parseStatusArgs({"--yaml"}, error));
    EXPECT_EQ(error, "unknown status option --yaml");
}

TEST_F(StatusCommand, FollowPrintsALineAtEveryChangeUntilTheAppGoesOrItIsStopped) {
    startApp();
    // While following: new numbers, the same numbers again (no new line), then the app quits.
    after(300, [this] {
        m_.answer(ProviderID::claude, ScriptedModel::snapshot(m_.limit("session", 95, 2h)));
        spawn(m_.model->refresh(ProviderID::claude));
    });
    after(600, [this] { spawn(m_.model->refresh(ProviderID::claude)); });
    after(900, [this] { g_bus_unown_name(std::exchange(owner_, 0u)); });
    EXPECT_EQ(status({"--waybar", "--follow"}), statusNotRunning);
    const auto lines = test::splitLines(out_.str());
    ASSERT_EQ(lines.size(), 2u) << out_.str();
    EXPECT_EQ(nlohmann::json::parse(lines[0])["percentage"], 43);
    EXPECT_EQ(nlohmann::json::parse(lines[1])["percentage"], 5);
    EXPECT_EQ(err_.str(), "Ostrel is not running\n");
    // The status object alone, without the app's name, is not a running app.
    for (const auto& args : {std::vector<std::string>{}, {"--json"}, {"--waybar", "--follow"}}) {
        EXPECT_EQ(status(args), statusNotRunning);
        EXPECT_EQ(out_.str(), "");
        EXPECT_EQ(err_.str(), "Ostrel is not running\n");
    }

    // Told to stop, it ends well.
    startApp();
    GObjectPtr<GCancellable> stop = adopt(g_cancellable_new());
    after(200, [&] { g_cancellable_cancel(stop.get()); });
    EXPECT_EQ(status({"--follow"}, stop.get()), 0);
    EXPECT_EQ(test::splitLines(out_.str()).size(), 1u);
}

} // namespace
} // namespace ostrel
