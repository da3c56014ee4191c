#include "model/time_format.h"

#include <memory>
#include <unicode/datefmt.h>
#include <unicode/dtptngen.h>
#include <unicode/smpdtfmt.h>

namespace ostrel {

namespace {
double icuMillis(TimePoint t) {
    return static_cast<double>(
        std::chrono::duration_cast<std::chrono::milliseconds>(t.time_since_epoch()).count());
}

std::string format(icu::DateFormat* f, TimePoint t) {
    if (!f) return {};
    icu::UnicodeString out;
    f->format(icuMillis(t), out);
    std::string utf8;
    out.toUTF8String(utf8);
    return utf8;
}
} // namespace

std::string shortTime(TimePoint t) {
    std::unique_ptr<icu::DateFormat> f(icu::DateFormat::createTimeInstance(icu::DateFormat::kShort));
    return format(f.get(), t);
}

std::string weekdayTime(TimePoint t) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale = icu::Locale::getDefault();
    std::unique_ptr<icu::DateTimePatternGenerator> gen(
        icu::DateTimePatternGenerator::createInstance(locale, status));
    if (U_FAILURE(status)) return shortTime(t);
    // "j" is the locale's preferred hour cycle, so 12-hour locales get their AM/PM marker.
    const icu::UnicodeString pattern = gen->getBestPattern(icu::UnicodeString("EEEjmm"), status);
    if (U_FAILURE(status)) return shortTime(t);
    icu::SimpleDateFormat f(pattern, locale, status);
    if (U_FAILURE(status)) return shortTime(t);
    return format(&f, t);
}

} // namespace ostrel
