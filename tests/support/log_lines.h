#pragma once
// Collects the app's log lines for as long as it lives, instead of letting them reach the output.

#include "base/log.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ostrel::test {

class LogLines {
  public:
    const std::vector<std::string>& lines() const { return lines_; }
    // All lines as one text, each ending in a line break (as they would have reached the output).
    std::string text() const {
        std::string out;
        for (const auto& line : lines_)
            out += line + "\n";
        return out;
    }
    // The lines said since the last take(), which forgets them.
    std::vector<std::string> take() { return std::exchange(lines_, {}); }

  private:
    std::vector<std::string> lines_;
    ScopedLogSink sink_{[this](const std::string& line) { lines_.push_back(line); }};
};

// Collects what is logged from its construction until finish(), which returns it as text (each line
// ending in a line break) and lets the lines reach the output again.
class LogCapture {
  public:
    LogCapture() : sink_(std::in_place, [this](const std::string& line) { text_ += line + "\n"; }) {}
    std::string finish() {
        sink_.reset();
        return std::move(text_);
    }

  private:
    std::string text_;
    std::optional<ScopedLogSink> sink_;
};

} // namespace ostrel::test
