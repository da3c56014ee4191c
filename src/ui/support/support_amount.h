#pragma once
// The rules of the support screen's amount: which texts parse, which amounts may be sent, which
// preset a text selects, and the payment screen's rupee line.

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::SupportAmount {

// Preset amounts in rupees, in the order they are shown.
inline constexpr std::array<int, 4> presets{50, 100, 250, 500};

// The amount text a fresh support screen starts with.
inline constexpr std::string_view initialText = "100";

// The largest amount "Send" accepts. A single UPI payment to a person is capped at ₹1,00,000, so a
// larger figure cannot be paid anyway; the cap also keeps the integer part of the amount exact when
// the payment screen shows it.
inline constexpr double maximum = 100000.0;

// The whole text as one strtod number in the C locale (sign, digits, point, exponent, and strtod's
// inf/nan/hex forms), with no leading white space and nothing after it.
std::optional<double> parse(std::string_view text);

// The amount "Send" hands on: the text parses to a finite value above 0 and at most `maximum`.
std::optional<double> sendable(std::string_view text);

// Whether `text` selects the preset `rupees`: exactly its decimal digits ("100.0" selects nothing).
bool selects(std::string_view text, int rupees);

// "₹" + the whole rupees of `amount` (fraction dropped) + " to " + `payeeName`.
std::string rupeeLine(double amount, std::string_view payeeName);

} // namespace ostrel::SupportAmount
