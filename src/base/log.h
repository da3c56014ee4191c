#pragma once
// The app's one diagnostic channel: single lines on standard output, no levels, no file. Callers
// give the whole line's text after the prefix; the prefix says who speaks:
//   log("Claude refreshing")                 -> "[Ostrel] Claude refreshing"
//   logFrom("claude.ai", "page route: 200")  -> "[Ostrel][claude.ai] page route: 200"
// Never pass a cookie, a token or a request body here.

#include <functional>
#include <string>
#include <string_view>

namespace ostrel {

void log(std::string_view text);
void logFrom(std::string_view source, std::string_view text);

// Where lines go. The default writes them to standard output and flushes; a test installs its own
// to read what was said (one call per finished line, prefix included).
using LogSink = std::function<void(const std::string& line)>;

// Installs `sink` for as long as the returned guard lives, then puts the previous one back.
class ScopedLogSink {
  public:
    explicit ScopedLogSink(LogSink sink);
    ScopedLogSink(const ScopedLogSink&) = delete;
    ScopedLogSink& operator=(const ScopedLogSink&) = delete;
    ~ScopedLogSink();

  private:
    LogSink previous_;
};

} // namespace ostrel
