#pragma once
// Task<T>: a lazily started coroutine whose continuation is resumed by whoever completes it. All of
// our awaitables complete from GLib main-context callbacks, so every task runs on the main loop.

#include <coroutine>
#include <exception>
#include <optional>
#include <utility>
#include <variant>

namespace ostrel {

template <typename T = void> class Task;
class TaskGroup;

namespace detail {

void reportDetachedFailure(std::exception_ptr error) noexcept;
// Forgets and frees a finished task of `group` (task_group.cpp).
void releaseFromGroup(TaskGroup& group, std::coroutine_handle<> task) noexcept;

struct PromiseBase {
    std::coroutine_handle<> continuation;
    std::exception_ptr error;
    bool detached = false;
    TaskGroup* group = nullptr; // the owner of a spawned task, which frees it at its end

    struct FinalAwaiter {
        bool await_ready() noexcept { return false; }
        template <typename P> std::coroutine_handle<> await_suspend(std::coroutine_handle<P> h) noexcept {
            PromiseBase& p = h.promise();
            if (p.detached || p.group) {
                if (p.error) reportDetachedFailure(p.error);
                if (p.group)
                    releaseFromGroup(*p.group, h);
                else
                    h.destroy();
                return std::noop_coroutine();
            }
            return p.continuation ? p.continuation : std::noop_coroutine();
        }
        void await_resume() noexcept {}
    };

    std::suspend_always initial_suspend() noexcept { return {}; }
    FinalAwaiter final_suspend() noexcept { return {}; }
    void unhandled_exception() noexcept { error = std::current_exception(); }
};

template <typename T> struct Promise : PromiseBase {
    std::optional<T> value;
    Task<T> get_return_object() noexcept;
    template <typename U> void return_value(U&& v) { value.emplace(std::forward<U>(v)); }
    T take() {
        if (error) std::rethrow_exception(error);
        return std::move(*value);
    }
};

template <> struct Promise<void> : PromiseBase {
    Task<void> get_return_object() noexcept;
    void return_void() noexcept {}
    void take() {
        if (error) std::rethrow_exception(error);
    }
};

} // namespace detail

template <typename T> class [[nodiscard]] Task {
  public:
    using promise_type = detail::Promise<T>;
    using Handle = std::coroutine_handle<promise_type>;

    Task() = default;
    explicit Task(Handle h) : h_(h) {}
    Task(Task&& o) noexcept : h_(std::exchange(o.h_, {})) {}
    Task& operator=(Task&& o) noexcept {
        if (this != &o) {
            destroy();
            h_ = std::exchange(o.h_, {});
        }
        return *this;
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { destroy(); }

    bool valid() const { return static_cast<bool>(h_); }

    auto operator co_await() && noexcept {
        struct Awaiter {
            Handle h;
            bool await_ready() noexcept { return false; }
            std::coroutine_handle<> await_suspend(std::coroutine_handle<> caller) noexcept {
                h.promise().continuation = caller;
                return h; // start the child; it resumes us at its end
            }
            T await_resume() { return h.promise().take(); }
        };
        return Awaiter{h_};
    }

    // Starts the task and lets it run to completion on its own; the frame frees itself at the end.
    // A failure that escapes a detached task is reported on standard error, never swallowed silently.
    void detach() && {
        Handle h = std::exchange(h_, {});
        h.promise().detached = true;
        h.resume();
    }

    // Hands the frame over to whoever takes charge of it (TaskGroup); the task is not started.
    Handle release() && { return std::exchange(h_, {}); }

  private:
    void destroy() {
        if (h_) std::exchange(h_, {}).destroy();
    }
    Handle h_;
};

namespace detail {
template <typename T> Task<T> Promise<T>::get_return_object() noexcept {
    return Task<T>(std::coroutine_handle<Promise<T>>::from_promise(*this));
}
inline Task<void> Promise<void>::get_return_object() noexcept {
    return Task<void>(std::coroutine_handle<Promise<void>>::from_promise(*this));
}
} // namespace detail

// Fire-and-forget start of a main-loop task that nobody cancels. Objects that can go away while
// their tasks run spawn into a TaskGroup of their own instead.
inline void spawn(Task<void> task) {
    std::move(task).detach();
}

} // namespace ostrel
