// `ostrel status` against a running app's status export on a private bus: each format, a hundred
// calls that fetch nothing, following changes until the app goes away, and no app at all.
#include "app/status_cli.h"
#include "app/status_service.h"
#include "base/log.h"
#include "model/status_json.h"
#include "model/usage_history.h"
#include "scripted_model.h"
#include "support/loop.h"
#include "support/private_bus.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using test::ScriptedModel;

class StatusCommand : public ::testing::Test {
  protected:
    void SetUp() override {
        m_.succeed(ProviderID::claude,
                   ScriptedModel::snapshot(m_.limit("session", 57, 2h), {m_.limit("weekly", 20)}));
        m_.fail(ProviderID::cursor, ProviderError::needsLogin());
    }
    ~StatusCommand() override {
        if (owner_) g_bus_unown_name(owner_);
    }

    // The app: its status on one connection, which owns the app's name.
    void startApp() {
        service_ = std::make_unique<StatusService>(appBus_.get(), *m_.model, &history_);
        ASSERT_TRUE(service_->registered());
        owner_ = g_bus_own_name_on_connection(appBus_.get(), "app.ostrel.Ostrel", G_BUS_NAME_OWNER_FLAGS_NONE,
                                              onAcquired, nullptr, &owned_, nullptr);
        ASSERT_TRUE(runLoopUntil([&] { return owned_; }, 5s));
    }
    static void onAcquired(GDBusConnection*, const char*, gpointer flag) { *static_cast<bool*>(flag) = true; }

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
    bool owned_ = false;
    std::ostringstream out_, err_;
};

TEST_F(StatusCommand, PrintsEachFormatWithoutFetching) {
    startApp();
    const int fetches = m_.provider(ProviderID::claude).fetches;

    ASSERT_EQ(status({}), 0) << err_.str();
    EXPECT_EQ(out_.str(), m_.model->trayAccessibilityText() + "\n");
    EXPECT_EQ(out_.str().rfind("Claude 43% left, resets in ", 0), 0u) << out_.str();

    ASSERT_EQ(status({"--json"}), 0);
    EXPECT_EQ(out_.str(), statusJson(*m_.model, &history_, m_.model->now()) + "\n");
    const auto doc = nlohmann::json::parse(out_.str());
    EXPECT_EQ(doc["services"][1]["needsLogin"], true);

    ASSERT_EQ(status({"--waybar"}), 0);
    const auto bar = nlohmann::json::parse(out_.str());
    EXPECT_EQ(bar["class"], "medium");
    EXPECT_EQ(bar["percentage"], 43);
    EXPECT_TRUE(err_.str().empty());

    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(status({"--waybar"}), 0);
    test::drain();
    EXPECT_EQ(m_.provider(ProviderID::claude).fetches, fetches) << "asking for the status fetches nothing";
    EXPECT_EQ(m_.provider(ProviderID::cursor).fetches, 1);
}

struct FollowScript {
    ScriptedModel* model;
    GCancellable* stop;
    unsigned* owner;
};

TEST_F(StatusCommand, FollowPrintsALineAtEveryChangeUntilTheAppGoes) {
    startApp();
    // While following: new numbers, the same numbers again (no new line), then the app quits.
    FollowScript script{&m_, nullptr, &owner_};
    g_timeout_add(
        300,
        +[](gpointer p) -> gboolean {
            auto* s = static_cast<FollowScript*>(p);
            s->model->answer(ProviderID::claude, ScriptedModel::snapshot(s->model->limit("session", 95, 2h)));
            spawn(s->model->model->refresh(ProviderID::claude));
            return G_SOURCE_REMOVE;
        },
        &script);
    g_timeout_add(
        600,
        +[](gpointer p) -> gboolean {
            spawn(static_cast<FollowScript*>(p)->model->model->refresh(ProviderID::claude));
            return G_SOURCE_REMOVE;
        },
        &script);
    g_timeout_add(
        900,
        +[](gpointer p) -> gboolean {
            g_bus_unown_name(std::exchange(*static_cast<FollowScript*>(p)->owner, 0u));
            return G_SOURCE_REMOVE;
        },
        &script);

    EXPECT_EQ(status({"--waybar", "--follow"}), statusNotRunning);
    const auto lines = test::splitLines(out_.str());
    ASSERT_EQ(lines.size(), 2u) << out_.str();
    EXPECT_EQ(nlohmann::json::parse(lines[0])["percentage"], 43);
    EXPECT_EQ(nlohmann::json::parse(lines[1])["percentage"], 5);
    EXPECT_EQ(nlohmann::json::parse(lines[1])["class"], "low");
    EXPECT_EQ(err_.str(), "Ostrel is not running\n");
}

TEST_F(StatusCommand, FollowStopsWhenToldTo) {
    startApp();
    GObjectPtr<GCancellable> stop = adopt(g_cancellable_new());
    g_timeout_add(
        200,
        +[](gpointer c) -> gboolean {
            g_cancellable_cancel(static_cast<GCancellable*>(c));
            return G_SOURCE_REMOVE;
        },
        stop.get());
    EXPECT_EQ(status({"--follow"}, stop.get()), 0);
    EXPECT_EQ(test::splitLines(out_.str()).size(), 1u);
}

TEST_F(StatusCommand, NoInstanceRunning) {
    // The status object alone, without the app's name, is not a running app.
    service_ = std::make_unique<StatusService>(appBus_.get(), *m_.model, &history_);
    for (const auto& args : {std::vector<std::string>{}, {"--json"}, {"--waybar", "--follow"}}) {
        EXPECT_EQ(status(args), statusNotRunning);
        EXPECT_EQ(out_.str(), "");
        EXPECT_EQ(err_.str(), "Ostrel is not running\n");
    }
    std::string error;
    EXPECT_FALSE(parseStatusArgs({"--yaml"}, error));
    EXPECT_EQ(error, "unknown status option --yaml");
}

} // namespace
} // namespace ostrel
