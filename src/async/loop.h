#pragma once
// Awaitables that suspend a Task on the GLib main context: timers and one-shot events. GIO calls
// are awaited through boundedCall (async/bounded_call.h). A wait undoes itself when the waiting
// frame is destroyed, so a TaskGroup can end its tasks wherever they wait.

#include "async/task.h"

#include <chrono>
#include <coroutine>
#include <vector>

namespace ostrel {

// Sleeps on the main loop for `duration`.
Task<void> sleepFor(std::chrono::milliseconds duration);

// A one-shot event many tasks can wait for; set() resumes all of them, in the order they came.
class AsyncEvent {
  public:
    AsyncEvent() = default;
    ~AsyncEvent();
    AsyncEvent(const AsyncEvent&) = delete;
    AsyncEvent& operator=(const AsyncEvent&) = delete;

    class Waiter {
      public:
        explicit Waiter(AsyncEvent& event) : event_(event) {}
        Waiter(const Waiter&) = delete;
        Waiter& operator=(const Waiter&) = delete;
        ~Waiter(); // a destroyed waiting frame leaves the queue
        bool await_ready() const noexcept { return event_.set_; }
        void await_suspend(std::coroutine_handle<> h);
        void await_resume() const noexcept {}

      private:
        friend class AsyncEvent;
        AsyncEvent& event_;
        std::coroutine_handle<> handle_;
        bool queued_ = false;
    };

    bool isSet() const { return set_; }
    // Resumes the waiters in turn. A resumed waiter may destroy the event (its frame ends and takes
    // the event with it); set() then stops there.
    void set();
    Waiter wait() { return Waiter(*this); }

  private:
    bool set_ = false;
    std::vector<Waiter*> waiters_;
    bool* destroyed_ = nullptr; // set() running: tells it the event is gone
};

} // namespace ostrel
