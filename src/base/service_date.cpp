#include "base/service_date.h"

#include <chrono>

namespace ostrel {

std::string cutFractionToMillis(std::string_view text) {
    // By hand, not with std::regex: the standard library's matcher recurses once per digit, and a
    // long enough run of digits in a service's answer overflowed the stack.
    const auto digit = [&](std::size_t i) { return i < text.size() && text[i] >= '0' && text[i] <= '9'; };
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == '.' && digit(i + 1) && digit(i + 2) && digit(i + 3) && digit(i + 4)) {
            out.append(text.substr(i, 4));
            i += 4;
            while (digit(i))
                ++i;
        } else {
            out += text[i++];
        }
    }
    return out;
}

namespace {

class Reader {
  public:
    explicit Reader(std::string_view s) : s_(s) {}
    // Exactly `n` ASCII digits.
    std::optional<int> digits(std::size_t n) {
        if (pos_ + n > s_.size()) return std::nullopt;
        int v = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const char c = s_[pos_ + i];
            if (c < '0' || c > '9') return std::nullopt;
            v = v * 10 + (c - '0');
        }
        pos_ += n;
        return v;
    }
    bool take(char c) {
        if (pos_ < s_.size() && s_[pos_] == c) {
            ++pos_;
            return true;
        }
        return false;
    }
    bool takeEither(char a, char b) { return take(a) || take(b); }
    bool atEnd() const { return pos_ == s_.size(); }
    std::size_t pos() const { return pos_; }
    char peek() const { return pos_ < s_.size() ? s_[pos_] : '\0'; }

  private:
    std::string_view s_;
    std::size_t pos_ = 0;
};

// RFC 3339 date-time; `fraction` says whether the fractional-seconds form is the one being read.
std::optional<TimePoint> parseInternetDateTime(std::string_view text, bool fraction) {
    using namespace std::chrono;
    Reader r(text);
    auto year = r.digits(4);
    if (!year || !r.take('-')) return std::nullopt;
    auto month = r.digits(2);
    if (!month || !r.take('-')) return std::nullopt;
    auto day = r.digits(2);
    if (!day || !r.takeEither('T', 't')) return std::nullopt;
    auto hour = r.digits(2);
    if (!hour || !r.take(':')) return std::nullopt;
    auto minute = r.digits(2);
    if (!minute || !r.take(':')) return std::nullopt;
    auto second = r.digits(2);
    if (!second) return std::nullopt;

    milliseconds millis{0};
    if (fraction) {
        if (!r.take('.')) return std::nullopt;
        int scale = 100, ms = 0, count = 0;
        while (r.peek() >= '0' && r.peek() <= '9') {
            const int digit = *r.digits(1);
            if (count < 3) ms += digit * scale;
            scale /= 10;
            ++count;
        }
        if (count == 0) return std::nullopt;
        millis = milliseconds(ms);
    }

    minutes offset{0};
    if (!r.takeEither('Z', 'z')) {
        int sign = 0;
        if (r.take('+'))
            sign = 1;
        else if (r.take('-'))
            sign = -1;
        else
            return std::nullopt;
        auto oh = r.digits(2);
        if (!oh || !r.take(':')) return std::nullopt;
        auto om = r.digits(2);
        if (!om || *oh > 23 || *om > 59) return std::nullopt;
        offset = minutes(sign * (*oh * 60 + *om));
    }
    if (!r.atEnd()) return std::nullopt;

    const year_month_day ymd{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                             std::chrono::day(static_cast<unsigned>(*day))};
    // A leap second (:60) is read as the first second of the next minute.
    if (!ymd.ok() || *hour > 23 || *minute > 59 || *second > 60) return std::nullopt;
    const auto local = sys_days(ymd) + hours(*hour) + minutes(*minute) + seconds(*second) + millis;
    const auto utc = local - offset; // milliseconds: no overflow for any four-digit year
    // The clock's own resolution covers about 1678…2262; a date outside it is no date we can use.
    const auto limit = duration_cast<milliseconds>(system_clock::duration::max()) - milliseconds(1);
    if (utc.time_since_epoch() > limit || utc.time_since_epoch() < -limit) return std::nullopt;
    return time_point_cast<system_clock::duration>(utc);
}

} // namespace

std::optional<TimePoint> parseServiceDate(std::string_view text) {
    const std::string cut = cutFractionToMillis(text);
    if (auto t = parseInternetDateTime(cut, true)) return t;
    return parseInternetDateTime(cut, false);
}

} // namespace ostrel
