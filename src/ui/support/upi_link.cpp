#include "ui/support/upi_link.h"

#include "ui/support/payee_config.h"

#include <array>
#include <charconv>
#include <glib.h>
#include <utility>

namespace ostrel::UPI {

namespace {

bool keptAsIs(unsigned char c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return true;
    // The rest of RFC 3986's unreserved set, then the sub-delimiters, ":", "@", "/" and "?" that a
    // query may hold as they are. Left out on purpose: & = + # (and "%" itself).
    constexpr std::string_view others = "-._~!$'()*,;:@/?";
    return others.find(static_cast<char>(c)) != std::string_view::npos;
}

// "%.2f" without consulting the C library's locale: a comma-decimal locale must not leak into
// the link.
std::string twoDecimals(double amount) {
    std::array<char, 400> buf{}; // DBL_MAX in fixed notation needs 309 digits plus the decimals
    auto [end, ec] = std::to_chars(buf.data(), buf.data() + buf.size(), amount, std::chars_format::fixed, 2);
    if (ec != std::errc()) return {};
    return std::string(buf.data(), end);
}

std::optional<std::string> buildLink(double amount, const Payee& payee) {
    const std::array<std::pair<std::string_view, std::string>, 5> items{{
        {"pa", std::string(payee.address)},
        {"pn", std::string(payee.name)},
        {"am", twoDecimals(amount)},
        {"cu", "INR"},
        {"tn", "Support Ostrel"},
    }};
    std::string link = "upi://pay?";
    bool first = true;
    for (const auto& [name, value] : items) {
        auto encoded = encodeQueryValue(value);
        if (!encoded) return std::nullopt;
        if (!first) link += '&';
        first = false;
        link.append(name).append("=").append(*encoded);
    }
    return link;
}

} // namespace

Payee payee() {
    return Payee{config::payeeAddress, config::payeeName};
}

std::optional<std::string> encodeQueryValue(std::string_view value) {
    if (!g_utf8_validate_len(value.data(), value.size(), nullptr)) return std::nullopt;
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(value.size());
    for (unsigned char c : value) {
        if (keptAsIs(c)) {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 0x0F];
        }
    }
    return out;
}

std::string paymentLink(double amount, const Payee& payee) {
    if (auto link = buildLink(amount, payee)) return *std::move(link);
    return "upi://pay?pa=" + std::string(payee.address);
}

std::string paymentLink(double amount) {
    return paymentLink(amount, payee());
}

} // namespace ostrel::UPI
