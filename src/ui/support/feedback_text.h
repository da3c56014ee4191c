#pragma once
// The one gate on a feedback message: it must hold something besides white space and line breaks.

#include <string_view>

namespace ostrel::FeedbackText {

// True when the UTF-8 `message` has a character that is neither white space nor a line break
// (Unicode separators, tabs, CR/LF, vertical tab, form feed, NEL). Invalid UTF-8 counts as content.
bool hasContent(std::string_view message);

} // namespace ostrel::FeedbackText
