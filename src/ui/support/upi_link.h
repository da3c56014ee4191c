#pragma once
// The UPI payment deep link ("upi://pay?...") that the payment screen shows as a QR code.

#include <optional>
#include <string>
#include <string_view>

namespace ostrel::UPI {

// Who receives the payment: a virtual payment address (local@handle) and the name UPI apps show.
struct Payee {
    std::string_view address;
    std::string_view name;
};

// The payee this build was configured with (CMake options OSTREL_UPI_PAYEE_ADDRESS and
// OSTREL_UPI_PAYEE_NAME).
Payee payee();

// "upi://pay?pa=…&pn=…&am=…&cu=INR&tn=Support%20Ostrel": the amount with two decimals and a point
// whatever the user's locale, each value percent-encoded so it stays a single query value. Falls back
// to "upi://pay?pa=" + the address when a link cannot be formed (a payee text that is not UTF-8).
std::string paymentLink(double amount);
std::string paymentLink(double amount, const Payee& payee);

// Percent-encodes `value` for use as one query value: RFC 3986 query characters stay, except the
// separators & = + # which UPI apps would otherwise read as structure. No value when `value` is not
// valid UTF-8 (a URL carries text, so such bytes cannot be part of a link).
std::optional<std::string> encodeQueryValue(std::string_view value);

} // namespace ostrel::UPI
