// The pure rules of the support and feedback screens: the UPI link, amount parsing, the message
// gate and the QR code's error-correction level.

#include "support/test_env.h"
#include "ui/support/feedback_text.h"
#include "ui/support/qr_matrix.h"
#include "ui/support/support_amount.h"
#include "ui/support/upi_link.h"

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <glib.h>
#include <gtest/gtest.h>
#include <optional>

using namespace ostrel;

namespace {
const UPI::Payee shop{"asha.sweets@okbank", "Asha & Sons"};
const char* linkFor100 =
    "upi://pay?pa=asha.sweets@okbank&pn=Asha%20%26%20Sons&am=100.00&cu=INR&tn=Support%20Ostrel";
} // namespace

TEST(UpiLink, ListsPayeeAmountCurrencyAndNoteInOrder) {
    EXPECT_EQ(UPI::paymentLink(100, shop), linkFor100);
    EXPECT_EQ(UPI::paymentLink(12.75, shop),
              "upi://pay?pa=asha.sweets@okbank&pn=Asha%20%26%20Sons&am=12.75&cu=INR&tn=Support%20Ostrel");
}

TEST(UpiLink, BuiltInPayeeGoesIntoTheLink) {
    const UPI::Payee built = UPI::payee();
    ASSERT_FALSE(built.address.empty());
    const std::string link = UPI::paymentLink(0.5);
    EXPECT_EQ(link.rfind("upi://pay?pa=" + *UPI::encodeQueryValue(built.address) + "&pn=", 0), 0u) << link;
    EXPECT_NE(link.find("&am=0.50&cu=INR&tn=Support%20Ostrel"), std::string::npos) << link;
}

TEST(UpiLink, AmountMatchesPrintfTwoDecimals) {
    for (double v : {0.005, 0.015, 2.675, 1.005, 99.999, 1e5, 123456.785, 0.1 + 0.2}) {
        char expected[64];
        std::snprintf(expected, sizeof expected, "%.2f", v);
        const std::string link = UPI::paymentLink(v, shop);
        EXPECT_NE(link.find(std::string("&am=") + expected + "&"), std::string::npos) << v << " " << link;
    }
}

TEST(UpiLink, PercentEncodesQuerySeparatorsAndNonAscii) {
    EXPECT_EQ(UPI::encodeQueryValue("a+b=c#d&e f%"), "a%2Bb%3Dc%23d%26e%20f%25");
    EXPECT_EQ(UPI::encodeQueryValue("Zoë/?:@-._~"), "Zo%C3%AB/?:@-._~");
}

TEST(UpiLink, FallsBackToThePayeeAddressWhenTheLinkCannotBeFormed) {
    const UPI::Payee broken{"asha.sweets@okbank", "Asha \xff"};
    EXPECT_EQ(UPI::paymentLink(100, broken), "upi://pay?pa=asha.sweets@okbank");
}

// A user locale with a decimal comma must change neither the link nor what the amount field accepts.
TEST(UpiLink, DecimalCommaLocaleChangesNothing) {
    test::TempDir dir;
    const std::string out = dir.file("de_DE.UTF-8");
    const char* argv[] = {"localedef", "-i", "de_DE", "-f", "UTF-8", out.c_str(), nullptr};
    gint status = 1;
    const bool ran = g_spawn_sync(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_SEARCH_PATH_FROM_ENVP,
                                  nullptr, nullptr, nullptr, nullptr, &status, nullptr);
    g_setenv("LOCPATH", dir.path().c_str(), TRUE);
    if (!ran || !g_spawn_check_wait_status(status, nullptr) || !std::setlocale(LC_ALL, "de_DE.UTF-8"))
        GTEST_SKIP() << "no de_DE locale could be built here (localedef and its sources are needed)";
    char probe[32];
    std::snprintf(probe, sizeof probe, "%.2f", 12.75);
    const std::string localised = probe;
    const std::string link = UPI::paymentLink(12.75, shop);
    const auto dotted = SupportAmount::parse("12.75");
    const auto comma = SupportAmount::parse("12,75");
    std::setlocale(LC_ALL, "C");
    g_unsetenv("LOCPATH");

    ASSERT_EQ(localised, "12,75"); // the locale really is in force
    EXPECT_NE(link.find("&am=12.75&"), std::string::npos) << link;
    EXPECT_EQ(dotted, 12.75);
    EXPECT_EQ(comma, std::nullopt);
}

TEST(SupportAmount, ParsesOnlyAWholeStrtodNumber) {
    EXPECT_EQ(SupportAmount::parse("100"), 100.0);
    EXPECT_EQ(SupportAmount::parse("0.5"), 0.5);
    EXPECT_EQ(SupportAmount::parse("+7"), 7.0);
    EXPECT_EQ(SupportAmount::parse("-5"), -5.0);
    EXPECT_EQ(SupportAmount::parse(".5"), 0.5);
    EXPECT_EQ(SupportAmount::parse("5."), 5.0);
    EXPECT_EQ(SupportAmount::parse("1e3"), 1000.0);
    EXPECT_EQ(SupportAmount::parse("25E-1"), 2.5);
    EXPECT_EQ(SupportAmount::parse("0x10"), 16.0);
    EXPECT_TRUE(std::isinf(SupportAmount::parse("inf").value()));
    EXPECT_TRUE(std::isnan(SupportAmount::parse("nan").value()));

    for (const std::string& text :
         std::initializer_list<std::string>{"", " 100", "\t100", "\n100", "100 ", "100\n", "1,5", "abc",
                                            "12abc", "1e", "--1", "1 000", "₹100",
                                            std::string("1\0"
                                                        "2",
                                                        3),
                                            "\xd9\xa1"}) {
        EXPECT_EQ(SupportAmount::parse(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(SupportAmount, SendsOnlyFinitePositiveAmountsUpToTheCap) {
    EXPECT_EQ(SupportAmount::sendable("100"), 100.0);
    EXPECT_EQ(SupportAmount::sendable("0.5"), 0.5);
    EXPECT_EQ(SupportAmount::sendable("100.0"), 100.0);
    EXPECT_EQ(SupportAmount::sendable("100000"), 100000.0);
    for (const char* text :
         {"0", "0.0", "-0", "-5", "inf", "-inf", "nan", "1e999", "100000.01", "9.3e18", ""})
        EXPECT_EQ(SupportAmount::sendable(text), std::nullopt) << text;
}

TEST(SupportAmount, PresetIsSelectedOnlyByItsExactDigits) {
    EXPECT_TRUE(SupportAmount::selects("100", 100));
    EXPECT_TRUE(SupportAmount::selects("250", 250));
    for (const char* text : {"100.0", "0100", "+100", " 100", "1e2", "10"})
        EXPECT_FALSE(SupportAmount::selects(text, 100)) << text;
}

TEST(FeedbackText, BlanksAndLineBreaksAloneAreNoMessage) {
    EXPECT_FALSE(FeedbackText::hasContent(""));
    EXPECT_FALSE(FeedbackText::hasContent(" \t\r\n\v\f\u00A0\u2028\u2029\u3000\u0085"));
    EXPECT_TRUE(FeedbackText::hasContent(" \n x \n"));
    EXPECT_TRUE(FeedbackText::hasContent("\u00A0.\u00A0"));
    EXPECT_TRUE(FeedbackText::hasContent("\xff"));
}

namespace {
// The two error-correction bits of the format information next to the top-left finder, with the
// format mask removed: 00 is level M (01 L, 11 Q, 10 H).
int eccBits(const UPI::QrMatrix& m) {
    return ((m.isDark(0, 8) ? 1 : 0) ^ 1) << 1 | ((m.isDark(1, 8) ? 1 : 0) ^ 0);
}
} // namespace

TEST(QrMatrix, KeepsLevelMEvenWhereAHigherLevelWouldFit) {
    for (const std::string& text : {std::string("hi"), UPI::paymentLink(100, shop)}) {
        const auto m = UPI::qrMatrix(text);
        ASSERT_TRUE(m) << text;
        EXPECT_EQ((m->size - 17) % 4, 0);
        EXPECT_EQ(eccBits(*m), 0b00) << text;
    }
}

TEST(QrMatrix, TextBeyondTheLargestVersionGivesNoCode) {
    EXPECT_FALSE(UPI::qrMatrix(std::string(2400, 'a'))); // version 40-M holds 2331 bytes
    EXPECT_TRUE(UPI::qrMatrix(std::string(2331, 'a')));
}
