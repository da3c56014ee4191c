#pragma once
// Collects the app's log lines for as long as it lives, instead of letting them reach the output.

#include "base/log.h"

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

} // namespace ostrel::test
