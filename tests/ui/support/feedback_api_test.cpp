// The feedback sender against the loopback fake feedback service.

#include "async/loop.h"
#include "fake_feedback.h"
#include "support/loop.h"
#include "ui/support/feedback_api.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace std::chrono_literals;
using FeedbackAPI::SendError;

namespace {

struct Failure {
    SendError::Kind kind;
    std::string text;
};

// Runs one send and returns how it failed, or nothing when it succeeded.
std::optional<Failure> sendTo(const std::string& base, std::string message, std::string email,
                              std::chrono::milliseconds bound = 10s) {
    try {
        runSync(FeedbackAPI::send(base + "/api/feedback", std::move(message), std::move(email), bound), 30s);
        return std::nullopt;
    } catch (const SendError& e) {
        return Failure{e.kind(), e.what()};
    }
}

} // namespace

TEST(FeedbackAPI, PostsTheFieldsAsTypedAndTakesA201AsSuccess) {
    fake::FakeFeedback service;
    EXPECT_FALSE(sendTo(service.origin(), "  two words \n", ""));

    ASSERT_EQ(service.received().size(), 1u);
    const auto got = service.received().front();
    EXPECT_EQ(got.method, "POST");
    EXPECT_EQ(got.header("content-type"), "application/json");
    EXPECT_EQ(nlohmann::json::parse(got.body),
              (nlohmann::json{{"message", "  two words \n"}, {"email", ""}}));
}

TEST(FeedbackAPI, ShowsTheServersErrorTextOrTheGenericOne) {
    struct Case {
        fake::FakeAnswer answer;
        std::string shown;
    };
    const std::string generic = FeedbackAPI::genericFailure;
    const Case cases[] = {
        {fake::FakeAnswer::json(R"({"error":"Message is too long."})", 400), "Message is too long."},
        {fake::FakeAnswer::html(fake::htmlPage("Error", "<h1>Internal Server Error</h1>"), 500), generic},
        {fake::FakeAnswer::json(R"({"error":42})", 422), generic},
        {fake::FakeAnswer::json(R"(["error"])", 400), generic},
        {fake::FakeAnswer::json("", 503), generic},
        {fake::FakeAnswer::html("moved", 302), generic}, // no Location: not followed, not a success either
    };
    fake::FakeFeedback service;
    for (const auto& c : cases) {
        service.setAnswer(c.answer);
        const auto failure = sendTo(service.origin(), "hello", "me@example.com");
        ASSERT_TRUE(failure) << c.answer.status << " " << c.answer.body;
        EXPECT_EQ(failure->kind, SendError::Kind::server) << c.answer.body;
        EXPECT_EQ(failure->text, c.shown) << c.answer.body;
    }
}

TEST(FeedbackAPI, TransportFailuresCarryTheirOwnDescription) {
    fake::FakeFeedback service;
    fake::FakeAnswer drop;
    drop.drop = true;
    service.setAnswer(drop);
    const auto dropped = sendTo(service.origin(), "hello", "");
    ASSERT_TRUE(dropped);
    EXPECT_EQ(dropped->kind, SendError::Kind::network);
    EXPECT_FALSE(dropped->text.empty());
    EXPECT_NE(dropped->text, FeedbackAPI::genericFailure);

    std::string closedBase;
    {
        fake::FakeFeedback gone("127.0.0.7");
        closedBase = gone.origin();
    }
    const auto refused = sendTo(closedBase, "hello", "");
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->kind, SendError::Kind::network);
    EXPECT_FALSE(refused->text.empty());
}

TEST(FeedbackAPI, GivesUpWhenTheBoundPasses) {
    fake::FakeFeedback service;
    fake::FakeAnswer late = fake::FakeAnswer::json("{}", 201);
    late.hang = true;
    service.setAnswer(late);
    const auto started = std::chrono::steady_clock::now();
    const auto failure = sendTo(service.origin(), "hello", "", 300ms);
    const auto took = std::chrono::steady_clock::now() - started;
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, SendError::Kind::network);
    EXPECT_EQ(failure->text, FeedbackAPI::timedOut);
    EXPECT_LT(took, 3s);
}
