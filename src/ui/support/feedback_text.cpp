#include "ui/support/feedback_text.h"

#include <glib.h>

namespace ostrel::FeedbackText {

namespace {
bool isBlank(gunichar c) {
    if ((c >= 0x09 && c <= 0x0D) || c == 0x85) return true;
    switch (g_unichar_type(c)) {
    case G_UNICODE_SPACE_SEPARATOR:
    case G_UNICODE_LINE_SEPARATOR:
    case G_UNICODE_PARAGRAPH_SEPARATOR:
        return true;
    default:
        return false;
    }
}
} // namespace

bool hasContent(std::string_view message) {
    const char* p = message.data();
    const char* end = p + message.size();
    while (p < end) {
        const gunichar c = g_utf8_get_char_validated(p, end - p);
        if (c == static_cast<gunichar>(-1) || c == static_cast<gunichar>(-2)) return true;
        if (!isBlank(c)) return true;
        p = g_utf8_next_char(p);
    }
    return false;
}

} // namespace ostrel::FeedbackText
