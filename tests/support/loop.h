#pragma once
// Driving the main loop from a test (and from the benchmarks).

#include "async/loop.h"
#include "async/task.h"

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace ostrel {

// Lets the main loop run one round before continuing, like a real request that always suspends.
Task<void> yieldToLoop();

// Runs the default main context until `done()` holds or `timeout` passes; true when done.
bool runLoopUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

namespace detail {
template <typename T> struct SyncState {
    std::conditional_t<std::is_void_v<T>, bool, std::optional<T>> value{};
    std::exception_ptr error;
    bool done = false;
};

// The state is shared so that a task still pending after a time-out never writes to a dead frame.
template <typename T> Task<void> runInto(Task<T> task, std::shared_ptr<SyncState<T>> state) {
    try {
        if constexpr (std::is_void_v<T>)
            co_await std::move(task);
        else
            state->value.emplace(co_await std::move(task));
    } catch (...) {
        state->error = std::current_exception();
    }
    state->done = true;
}
} // namespace detail

// Starts `task` and runs the main context until it finishes; rethrows its error. Throws
// std::runtime_error when it does not finish within `timeout`.
template <typename T> T runSync(Task<T> task, std::chrono::milliseconds timeout = std::chrono::seconds(120)) {
    auto state = std::make_shared<detail::SyncState<T>>();
    detail::runInto<T>(std::move(task), state).detach();
    if (!runLoopUntil([&] { return state->done; }, timeout))
        throw std::runtime_error("task did not finish in time");
    if (state->error) std::rethrow_exception(state->error);
    if constexpr (!std::is_void_v<T>) return std::move(*state->value);
}

namespace test {

// Runs the main loop for `d` (timers and callbacks fire meanwhile).
void pump(std::chrono::milliseconds d);
// Runs pending main-loop work that is ready now, without waiting.
void drain();

} // namespace test

} // namespace ostrel
