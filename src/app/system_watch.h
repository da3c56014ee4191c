// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Tells the model what the system says about sleep and the network: logind's PrepareForSleep(false)
// on the system bus (the machine woke), and GIO's network monitor (the network went or came back).
// Only the glue: what to do about either is the model's. Without a system bus or logind the sleep
// half does nothing; the tick still notices the wall clock's jump.

#include "async/task_group.h"
#include "base/gobject_ptr.h"
#include "model/usage_model.h"

#include <gio/gio.h>

namespace ostrel {

class SystemWatch {
  public:
    explicit SystemWatch(UsageModel& model);
    SystemWatch(const SystemWatch&) = delete;
    SystemWatch& operator=(const SystemWatch&) = delete;
    ~SystemWatch();

  private:
    // What the sleep signal's callback reaches. GDBus may still deliver a signal after the
    // subscription is dropped, until it frees this through the destroy notify; the watch clears
    // `model` when it goes, so a late signal finds nobody.
    struct SleepTarget {
        UsageModel* model;
    };

    static Task<void> watchSleep(SystemWatch* self);
    static void onNetworkChanged(GNetworkMonitor* monitor, gboolean available, gpointer self);
    static void onPrepareForSleep(GDBusConnection*, const char*, const char*, const char*, const char*,
                                  GVariant* parameters, gpointer target);

    UsageModel& model_;
    GObjectPtr<GNetworkMonitor> monitor_;
    SignalConnection networkChanged_;
    GObjectPtr<GDBusConnection> systemBus_;
    guint sleepSubscription_ = 0;
    SleepTarget* sleepTarget_ = nullptr; // owned by the subscription (freed by its destroy notify)
    TaskGroup tasks_;
};

} // namespace ostrel
