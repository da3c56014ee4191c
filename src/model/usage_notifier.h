#pragma once
// Posts the four notifications through the desktop's notification service
// (org.freedesktop.Notifications on the session bus: GNOME Shell, KDE, Xfce, dunst, mako). Every
// notification is new (none replaces another); every failure is silent, including having no
// notification service or no session bus at all.

#include "async/loop.h"
#include "async/task_group.h"
#include "base/gobject_ptr.h"
#include "model/provider_state.h"

#include <gio/gio.h>
#include <memory>
#include <string>

namespace ostrel {

class UsageNotifier final : public Notifier {
  public:
    UsageNotifier() = default;
    // Posts on `bus` instead of the session bus (tests use a private bus).
    explicit UsageNotifier(GDBusConnection* bus) : bus_(GObjectPtr<GDBusConnection>::ref(bus)) {}

    void notifyBelow50(ProviderID id, const UsageLimit& limit) override;
    void notifyBelow10(ProviderID id, const UsageLimit& limit) override;
    void notifyReset(ProviderID id, const UsageLimit& limit) override;
    void notifyLoginExpired(ProviderID id) override;
    void notifyLoginExpiring(ProviderID id, int days) override;
    // The pace warning ("Claude: at this pace you run out in 40m, 1h 30m before the reset").
    void notifyPace(const std::string& text);

    // Whether the one-time set-up of this run has been made.
    bool setUpDone() const { return setUpDone_; }

  private:
    void send(const std::string& title, const std::string& body);

    GObjectPtr<GDBusConnection> bus_;
    bool setUpDone_ = false;
    std::shared_ptr<AsyncEvent> lastPost_; // the newest post, which the next one waits for
    TaskGroup tasks_;                      // the posts under way; last, so it goes first
};

} // namespace ostrel
