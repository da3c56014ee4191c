#pragma once
// The owner of the tasks an object starts. Destroying the group destroys every task still running:
// each frame goes at the point where it waits, and the wait it is in undoes itself there (a timer
// is removed, a GIO call is cancelled and its late answer dropped, an event forgets the waiter).
// So nothing ever resumes into an object that is gone. An object declares its group as its last
// member, so the group goes first and its tasks never see half-destroyed members.

#include "async/task.h"

#include <coroutine>
#include <cstddef>
#include <vector>

namespace ostrel {

class TaskGroup {
  public:
    TaskGroup() = default;
    TaskGroup(const TaskGroup&) = delete;
    TaskGroup& operator=(const TaskGroup&) = delete;
    ~TaskGroup() { cancelAll(); }

    // Starts `task` at once; it runs until it first waits, and the group keeps it until its end.
    void spawn(Task<void> task);
    // Destroys every task still running. Must not be called from inside one of them.
    void cancelAll();
    std::size_t running() const { return tasks_.size(); }

  private:
    friend void detail::releaseFromGroup(TaskGroup& group, std::coroutine_handle<> task) noexcept;

    std::vector<std::coroutine_handle<>> tasks_;
    bool cancelling_ = false;
};

} // namespace ostrel
