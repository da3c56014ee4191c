#include "base/log.h"

#include <cstdio>
#include <utility>

namespace ostrel {

namespace {

void writeToStdout(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout); // a line must be seen when it happens, also through a pipe
}

// The one piece of process state here: where lines go. Tests swap it through ScopedLogSink.
LogSink& currentSink() {
    static LogSink sink = writeToStdout;
    return sink;
}

void emit(std::string line) {
    const LogSink& sink = currentSink();
    if (sink) sink(line);
}

} // namespace

void log(std::string_view text) {
    std::string line = "[Ostrel] ";
    line += text;
    emit(std::move(line));
}

void logFrom(std::string_view source, std::string_view text) {
    std::string line = "[Ostrel][";
    line += source;
    line += "] ";
    line += text;
    emit(std::move(line));
}

ScopedLogSink::ScopedLogSink(LogSink sink) : previous_(std::exchange(currentSink(), std::move(sink))) {}

ScopedLogSink::~ScopedLogSink() {
    currentSink() = std::move(previous_);
}

} // namespace ostrel
