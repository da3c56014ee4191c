#include "async/bounded_call.h"

#include <algorithm>

namespace ostrel {

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
    deadline_ = SourceId(g_timeout_add_full(G_PRIORITY_DEFAULT,
                                            static_cast<guint>(std::max<long long>(0, timeout_.count())),
                                            &BoundedCall::onTimeout, this, nullptr));
    // The callback owns one reference to the shared part until it runs; GIO always calls it.
    auto forCallback = std::make_unique<std::shared_ptr<Pending>>(pending_);
    start_(cancellable_.get(), &BoundedCall::onReady, forCallback.release());
}

GioOutcome BoundedCall::await_resume() {
    deadline_.remove();
    return {std::move(pending_->result), timedOut_};
}

void BoundedCall::onReady(GObject*, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<std::shared_ptr<Pending>> owned(static_cast<std::shared_ptr<Pending>*>(data));
    const std::shared_ptr<Pending> pending = *owned;
    if (!pending->waiter) return;
    pending->result = GObjectPtr<GAsyncResult>::ref(result);
    std::exchange(pending->waiter, {}).resume();
}

gboolean BoundedCall::onTimeout(gpointer data) {
    auto* self = static_cast<BoundedCall*>(data);
    self->deadline_.forget();
    self->timedOut_ = true;
    g_cancellable_cancel(self->cancellable_.get()); // the call ends with a cancellation error
    return G_SOURCE_REMOVE;
}

} // namespace ostrel
