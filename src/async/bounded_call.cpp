#include "async/bounded_call.h"

#include <algorithm>

namespace ostrel {

namespace {
guint addTimeout(std::chrono::milliseconds d, GSourceFunc callback, gpointer data) {
    return g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(std::max<long long>(0, d.count())),
                              callback, data, nullptr);
}
} // namespace

BoundedCall::BoundedCall(Start start, std::chrono::milliseconds timeout)
    : start_(std::move(start)), timeout_(timeout) {}

BoundedCall::~BoundedCall() {
    if (pending_->waiter) {
        // The waiting frame is being destroyed: stop the call; its callback finds nobody waiting.
        pending_->waiter = {};
        g_cancellable_cancel(cancellable_.get());
    }
}

void BoundedCall::await_suspend(std::coroutine_handle<> waiter) {
    pending_->waiter = waiter;
    deadline_ = SourceId(addTimeout(timeout_, &BoundedCall::onTimeout, this));
    // The callback owns one reference to the shared part until it runs; GIO always calls it, but
    // maybe only long after the waiter has gone on (or never, if the process that answers is gone).
    auto forCallback = std::make_unique<std::shared_ptr<Pending>>(pending_);
    start_(cancellable_.get(), &BoundedCall::onReady, forCallback.release());
}

GioOutcome BoundedCall::await_resume() {
    deadline_.remove();
    grace_.remove();
    return {std::move(pending_->result), timedOut_, abandoned_};
}

void BoundedCall::onReady(GObject*, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<std::shared_ptr<Pending>> owned(static_cast<std::shared_ptr<Pending>*>(data));
    const std::shared_ptr<Pending> pending = *owned;
    if (!pending->waiter) return; // abandoned, or the waiting frame is gone: the answer is dropped
    pending->result = GObjectPtr<GAsyncResult>::ref(result);
    std::exchange(pending->waiter, {}).resume();
}

gboolean BoundedCall::onTimeout(gpointer data) {
    auto* self = static_cast<BoundedCall*>(data);
    self->deadline_.forget();
    self->timedOut_ = true;
    // A well-behaved call now ends with a cancellation error; one that cannot answer gets a moment.
    self->grace_ = SourceId(addTimeout(cancelGrace, &BoundedCall::onGraceOver, self));
    g_cancellable_cancel(self->cancellable_.get());
    return G_SOURCE_REMOVE;
}

gboolean BoundedCall::onGraceOver(gpointer data) {
    auto* self = static_cast<BoundedCall*>(data);
    self->grace_.forget();
    self->abandoned_ = true;
    std::exchange(self->pending_->waiter, {}).resume();
    return G_SOURCE_REMOVE;
}

} // namespace ostrel
