// SPDX-License-Identifier: GPL-3.0-or-later
#include "providers/http_date.h"

#include <array>
#include <charconv>
#include <chrono>
#include <vector>

namespace ostrel {

namespace {

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> out;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        const bool gap = i == text.size() || text[i] == ' ' || text[i] == ',' || text[i] == '-';
        if (!gap) continue;
        if (i > start) out.push_back(text.substr(start, i - start));
        start = i + 1;
    }
    return out;
}

std::optional<int> whole(std::string_view digits, std::size_t minLength, std::size_t maxLength) {
    if (digits.size() < minLength || digits.size() > maxLength) return std::nullopt;
    int value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

std::optional<unsigned> monthNumber(std::string_view name) {
    static constexpr std::array<std::string_view, 12> names{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (unsigned i = 0; i < names.size(); ++i)
        if (names[i] == name) return i + 1;
    return std::nullopt;
}

// "08:49:37" as seconds into the day.
std::optional<int> timeOfDay(std::string_view text) {
    if (text.size() != 8 || text[2] != ':' || text[5] != ':') return std::nullopt;
    const auto h = whole(text.substr(0, 2), 2, 2), m = whole(text.substr(3, 2), 2, 2),
               s = whole(text.substr(6, 2), 2, 2);
    if (!h || !m || !s || *h > 23 || *m > 59 || *s > 60) return std::nullopt;
    return *h * 3600 + *m * 60 + *s;
}

} // namespace

std::optional<TimePoint> parseHttpDate(std::string_view text) {
    const auto w = words(text);
    std::optional<int> day, year, seconds;
    std::optional<unsigned> month;
    if (w.size() == 6 && w[5] == "GMT") {
        // "Sun, 06 Nov 1994 08:49:37 GMT" and "Sunday, 06-Nov-94 08:49:37 GMT".
        day = whole(w[1], 1, 2);
        month = monthNumber(w[2]);
        year = whole(w[3], 2, 4);
        if (year && w[3].size() == 2) *year += *year < 70 ? 2000 : 1900;
        if (w[3].size() == 3) year.reset();
        seconds = timeOfDay(w[4]);
    } else if (w.size() == 5) {
        // "Sun Nov  6 08:49:37 1994".
        month = monthNumber(w[1]);
        day = whole(w[2], 1, 2);
        seconds = timeOfDay(w[3]);
        year = whole(w[4], 4, 4);
    }
    if (!day || !month || !year || !seconds) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(*year), std::chrono::month(*month),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days(date) + std::chrono::seconds(*seconds);
}

} // namespace ostrel
