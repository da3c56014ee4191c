// The rules of the support and feedback screens: the UPI link, amount parsing, the message gate and
// the QR code's error-correction level; and the feedback sender against the loopback fake service.

#include "fake_feedback.h"
#include "support/loop.h"
#include "support/test_env.h"
#include "ui/support/feedback_api.h"
#include "ui/support/feedback_text.h"
#include "ui/support/qr_matrix.h"
#include "ui/support/support_amount.h"
#include "ui/support/upi_link.h"

#include <clocale>
#include <cmath>
#include <cstdio>
#include <glib.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace std::chrono_literals;
using FeedbackAPI::SendError;

namespace {
const UPI::Payee shop{"asha.sweets@okbank", "Asha & Sons"};

// Runs one send and returns how it failed, or nothing when it succeeded.
std::optional<SendError> sendTo(const std::string& base, std::string message, std::string email,
                                std::chrono::milliseconds bound = 10s) {
    try {
        runSync(FeedbackAPI::send(base + "/api/feedback", std::move(message), std::move(email), bound), 30s);
        return std::nullopt;
    } catch (const SendError& e) {
        return e;
    }
}

} // namespace

TEST(UpiLink, ListsPayeeAmountCurrencyAndNoteInOrderEncoded) {
    EXPECT_EQ(UPI::paymentLink(12.75, shop),
              "upi://pay?pa=asha.sweets@okbank&pn=Asha%20%26%20Sons&am=12.75&cu=INR&tn=Support%20Ostrel");
    // The amount rounds as printf's "%.2f" does, halfway cases included.
    for (double v : {100.0, 0.005, 0.015, 2.675, 1.005, 99.999, 123456.785, 0.1 + 0.2}) {
        char expected[64];
        std::snprintf(expected, sizeof expected, "%.2f", v);
        EXPECT_NE(UPI::paymentLink(v, shop).find(std::string("&am=") + expected + "&"), std::string::npos)
            << v;
    }
    const std::string builtIn = UPI::paymentLink(0.5);
    EXPECT_EQ(builtIn.rfind("upi://pay?pa=" + *UPI::encodeQueryValue(UPI::payee().address) + "&pn=", 0), 0u);
    EXPECT_EQ(UPI::encodeQueryValue("a+b=c#d&e f%"), "a%2Bb%3Dc%23d%26e%20f%25");
    EXPECT_EQ(UPI::encodeQueryValue("Zoë/?:@-._~"), "Zo%C3%AB/?:@-._~");
    // A name that is not UTF-8 cannot be encoded: the link falls back to the address alone.
    EXPECT_EQ(UPI::paymentLink(100, {"asha.sweets@okbank", "Asha \xff"}), "upi://pay?pa=asha.sweets@okbank");
}

// A user locale with a decimal comma must change neither the link nor what the amount field accepts.
TEST(UpiLink, DecimalCommaLocaleChangesNothing) {
    test::TempDir dir;
    const std::string out = dir.file("de_DE.UTF-8");
    const char* argv[] = {"localedef", "-i", "de_DE", "-f", "UTF-8", out.c_str(), nullptr};
    gint status = 1;
    g_setenv("LOCPATH", dir.path().c_str(), TRUE);
    if (!g_spawn_sync(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_SEARCH_PATH_FROM_ENVP, nullptr,
                      nullptr, nullptr, nullptr, &status, nullptr) ||
        !g_spawn_check_wait_status(status, nullptr) || !std::setlocale(LC_ALL, "de_DE.UTF-8"))
        GTEST_SKIP() << "no de_DE locale could be built here (localedef and its sources are needed)";
    const std::string separator = std::localeconv()->decimal_point;
    const std::string link = UPI::paymentLink(12.75, shop);
    const auto dotted = SupportAmount::parse("12.75"), comma = SupportAmount::parse("12,75");
    std::setlocale(LC_ALL, "C");
    g_unsetenv("LOCPATH");
    ASSERT_EQ(separator, ","); // the locale really was in force
    EXPECT_NE(link.find("&am=12.75&"), std::string::npos) << link;
    EXPECT_EQ(dotted, 12.75);
    EXPECT_EQ(comma, std::nullopt);
}

TEST(SupportAmount, ParsesOnlyAWholeStrtodNumberAndSendsOnlyFinitePositiveOnesUpToTheCap) {
    const std::pair<const char*, double> numbers[] = {
        {"100", 100},  {"0.5", 0.5},   {"+7", 7},    {"-5", -5}, {".5", 0.5},        {"5.", 5},
        {"1e3", 1000}, {"25E-1", 2.5}, {"0x10", 16}, {"0", 0},   {"1e999", INFINITY}};
    for (const auto& [text, value] : numbers)
        EXPECT_EQ(SupportAmount::parse(text), value) << text;
    EXPECT_TRUE(std::isnan(SupportAmount::parse("nan").value()));
    for (const std::string& text : std::initializer_list<std::string>{
             "", " 100", "\t100", "\n100", "100 ", "100\n", "1,5", "abc", "12abc", "1e", "--1", "1 000",
             "₹100", std::string{'1', '\0', '2'}, "\xd9\xa1"})
        EXPECT_EQ(SupportAmount::parse(text), std::nullopt) << '"' << text << '"';

    EXPECT_EQ(SupportAmount::sendable("0.5"), 0.5);
    EXPECT_EQ(SupportAmount::sendable("100000"), 100000.0);
    for (const char* text : {"0", "-0", "-5", "inf", "-inf", "nan", "1e999", "100000.01", ""})
        EXPECT_EQ(SupportAmount::sendable(text), std::nullopt) << text;

    // A preset is selected only by its exact digits.
    EXPECT_TRUE(SupportAmount::selects("250", 250));
    EXPECT_FALSE(SupportAmount::selects("100.0", 100));
}

TEST(FeedbackText, BlanksAndLineBreaksAloneAreNoMessage) {
    EXPECT_FALSE(FeedbackText::hasContent(""));
    EXPECT_FALSE(FeedbackText::hasContent(" \t\r\n\v\f\u00A0\u2028\u2029\u3000\u0085"));
    EXPECT_TRUE(FeedbackText::hasContent("\u00A0.\u00A0"));
    EXPECT_TRUE(FeedbackText::hasContent("\xff"));
}

// Level M even where a higher level would fit, and no code for text beyond version 40-M (2331 bytes).
TEST(QrMatrix, KeepsLevelMUpToTheLargestVersion) {
    for (const std::string& text : {std::string("hi"), UPI::paymentLink(100, shop)}) {
        const auto m = UPI::qrMatrix(text);
        ASSERT_TRUE(m) << text;
        // The two error-correction bits of the format information beside the top-left finder, the
        // format mask removed: 00 is level M.
        EXPECT_TRUE(m->isDark(0, 8) && !m->isDark(1, 8)) << text;
    }
    EXPECT_FALSE(UPI::qrMatrix(std::string(2332, 'a')));
    EXPECT_TRUE(UPI::qrMatrix(std::string(2331, 'a')));
}

// The service's own error text reaches the form (support_views_test); any other failing answer gives
// the generic text.
TEST(FeedbackAPI, PostsTheFieldsAsTypedAndAnAnswerWithoutAnErrorTextGivesTheGenericOne) {
    fake::FakeFeedback service;
    EXPECT_FALSE(sendTo(service.origin(), "  two words \n", ""));

    ASSERT_EQ(service.received().size(), 1u);
    const auto got = service.received().front();
    EXPECT_EQ(got.method, "POST");
    EXPECT_EQ(got.header("content-type"), "application/json");
    EXPECT_EQ(nlohmann::json::parse(got.body),
              (nlohmann::json{{"message", "  two words \n"}, {"email", ""}}));

    const fake::FakeAnswer answers[] = {
        fake::FakeAnswer::html(fake::htmlPage("Error", "<h1>Internal Server Error</h1>"), 500),
        fake::FakeAnswer::json(R"({"error":42})", 422),
        fake::FakeAnswer::json(R"(["error"])", 400),
        fake::FakeAnswer::json("", 503),
        fake::FakeAnswer::html("moved", 302), // no Location: not followed, not a success either
    };
    for (const auto& answer : answers) {
        service.setAnswer(answer);
        const auto failure = sendTo(service.origin(), "hello", "me@example.com");
        ASSERT_TRUE(failure) << answer.status << " " << answer.body;
        EXPECT_EQ(failure->kind(), SendError::Kind::server) << answer.body;
        EXPECT_STREQ(failure->what(), FeedbackAPI::genericFailure) << answer.body;
    }
}

// A dropped connection and a hang past the bound: network failures with their own text.
TEST(FeedbackAPI, TransportFailuresCarryTheirOwnDescription) {
    fake::FakeFeedback dropping, hanging;
    fake::FakeAnswer drop, hang = fake::FakeAnswer::json("{}", 201);
    drop.drop = true;
    hang.hang = true;
    dropping.setAnswer(drop);
    hanging.setAnswer(hang);
    const auto started = std::chrono::steady_clock::now();
    const auto late = sendTo(hanging.origin(), "hello", "", 300ms);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 3s);
    ASSERT_TRUE(late);
    EXPECT_STREQ(late->what(), FeedbackAPI::timedOut);
    for (const auto& failure : {late, sendTo(dropping.origin(), "hello", "")}) {
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->kind(), SendError::Kind::network);
        EXPECT_STRNE(failure->what(), "");
        EXPECT_STRNE(failure->what(), FeedbackAPI::genericFailure);
    }
}
