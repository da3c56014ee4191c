#include "ui/support/support_amount.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <locale.h>
#include <memory>
#include <type_traits>

namespace ostrel::SupportAmount {

namespace {

struct LocaleDeleter {
    void operator()(std::remove_pointer_t<locale_t>* l) const { freelocale(l); }
};
using LocalePtr = std::unique_ptr<std::remove_pointer_t<locale_t>, LocaleDeleter>;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

} // namespace

std::optional<double> parse(std::string_view text) {
    // strtod would skip leading blanks; an embedded NUL would end the number early (caught below,
    // since the parse must consume the whole text).
    if (text.empty() || isSpace(text.front())) return std::nullopt;
    const LocalePtr c(newlocale(LC_ALL_MASK, "C", nullptr));
    if (!c) return std::nullopt;
    const std::string copy(text); // strtod needs a terminated string
    char* end = nullptr;
    const double value = strtod_l(copy.c_str(), &end, c.get());
    if (end != copy.c_str() + copy.size()) return std::nullopt;
    return value;
}

std::optional<double> sendable(std::string_view text) {
    const auto value = parse(text);
    if (!value || !std::isfinite(*value) || *value <= 0 || *value > maximum) return std::nullopt;
    return value;
}

bool selects(std::string_view text, int rupees) {
    return text == std::to_string(rupees);
}

std::string rupeeLine(double amount, std::string_view payeeName) {
    // The screen only receives amounts that passed `sendable`; clamp anyway so the cast is defined.
    const double whole = std::isfinite(amount) ? std::trunc(std::clamp(amount, 0.0, maximum)) : 0.0;
    return "\u20B9" + std::to_string(static_cast<long long>(whole)) + " to " + std::string(payeeName);
}

} // namespace ostrel::SupportAmount
