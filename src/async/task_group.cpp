#include "async/task_group.h"

#include <algorithm>

namespace ostrel {

namespace detail {
void releaseFromGroup(TaskGroup& group, std::coroutine_handle<> task) noexcept {
    auto& tasks = group.tasks_;
    tasks.erase(std::remove(tasks.begin(), tasks.end(), task), tasks.end());
    task.destroy();
}
} // namespace detail

void TaskGroup::spawn(Task<void> task) {
    auto h = std::move(task).release();
    if (!h) return;
    if (cancelling_) {
        h.destroy(); // started while the owner goes away: it never runs
        return;
    }
    h.promise().group = this;
    tasks_.push_back(h);
    h.resume();
}

void TaskGroup::cancelAll() {
    cancelling_ = true;
    // One at a time: undoing a wait may wake another task of this group, which may then end (and
    // leave the list by itself) or wait again before its own turn comes.
    while (!tasks_.empty()) {
        auto h = tasks_.back();
        tasks_.pop_back();
        h.destroy();
    }
    cancelling_ = false;
}

} // namespace ostrel
