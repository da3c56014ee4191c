// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/system_watch.h"

#include "async/bounded_call.h"
#include "base/log.h"

namespace ostrel {

using namespace std::chrono_literals;

SystemWatch::SystemWatch(UsageModel& model) : model_(model) {
    // The default monitor is shared and owned by GIO; we hold a reference of our own.
    monitor_ = adopt(G_NETWORK_MONITOR(g_object_ref(g_network_monitor_get_default())));
    networkChanged_ = SignalConnection(monitor_.get(), g_signal_connect(monitor_.get(), "network-changed",
                                                                        G_CALLBACK(onNetworkChanged), this));
    model_.setOnline(g_network_monitor_get_network_available(monitor_.get()));
    tasks_.spawn(watchSleep(this));
}

SystemWatch::~SystemWatch() {
    tasks_.cancelAll();
    if (sleepTarget_) sleepTarget_->model = nullptr;
    if (systemBus_ && sleepSubscription_)
        g_dbus_connection_signal_unsubscribe(systemBus_.get(), sleepSubscription_);
}

void SystemWatch::onNetworkChanged(GNetworkMonitor*, gboolean available, gpointer self) {
    static_cast<SystemWatch*>(self)->model_.setOnline(available);
}

void SystemWatch::onPrepareForSleep(GDBusConnection*, const char*, const char*, const char*, const char*,
                                    GVariant* parameters, gpointer target) {
    gboolean goingToSleep = TRUE;
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)")))
        g_variant_get(parameters, "(b)", &goingToSleep);
    UsageModel* model = static_cast<SleepTarget*>(target)->model;
    if (!goingToSleep && model) model->resumed();
}

Task<void> SystemWatch::watchSleep(SystemWatch* self) {
    auto out = co_await boundedCall(
        [](GCancellable* c, GAsyncReadyCallback cb, gpointer ud) { g_bus_get(G_BUS_TYPE_SYSTEM, c, cb, ud); },
        5s);
    self->systemBus_ = adopt(g_bus_get_finish(out.result.get(), nullptr));
    if (!self->systemBus_) {
        log("No system bus: waking from sleep is noticed by the clock alone");
        co_return;
    }
    // Subscribing needs no logind: without one, nothing arrives.
    self->sleepSubscription_ = g_dbus_connection_signal_subscribe(
        self->systemBus_.get(), "org.freedesktop.login1", "org.freedesktop.login1.Manager", "PrepareForSleep",
        "/org/freedesktop/login1", nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onPrepareForSleep,
        self->sleepTarget_ = new SleepTarget{&self->model_},
        [](gpointer target) { delete static_cast<SleepTarget*>(target); });
}

} // namespace ostrel
