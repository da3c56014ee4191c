#pragma once
// Template part of loop.h.

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace ostrel {

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

template <typename T> T runSync(Task<T> task, std::chrono::milliseconds timeout) {
    auto state = std::make_shared<detail::SyncState<T>>();
    detail::runInto<T>(std::move(task), state).detach();
    if (!runLoopUntil([&] { return state->done; }, timeout))
        throw std::runtime_error("task did not finish in time");
    if (state->error) std::rethrow_exception(state->error);
    if constexpr (!std::is_void_v<T>) return std::move(*state->value);
}

} // namespace ostrel
