#pragma once
// Posts the notifications through the desktop's notification service
// (org.freedesktop.Notifications on the session bus: GNOME Shell, KDE, Xfce, dunst, mako), with
// actions: a click on a notice opens the panel on its service's tab, and a login notice has a
// "Log in" button. A notice replaces the one before it of the same kind and service (the usage of
// Claude, the login of Cursor) instead of piling up. Every failure is silent, including having no
// notification service or no session bus at all.
//
// Raw D-Bus rather than GNotification: GNOME Shell drops a GNotification unless a desktop entry
// named after the application id is installed, which a run from the build folder does not have;
// the D-Bus calls reach every notification service either way.

#include "async/loop.h"
#include "async/task_group.h"
#include "base/gobject_ptr.h"
#include "model/provider_state.h"

#include <functional>
#include <gio/gio.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

class UsageNotifier final : public Notifier {
  public:
    // What the user asked for by clicking a notice or one of its buttons.
    enum class Action { openPanel, logIn };
    using ActionHandler = std::function<void(ProviderID, Action)>;

    UsageNotifier() = default;
    // Posts on `bus` instead of the session bus (tests use a private bus).
    explicit UsageNotifier(GDBusConnection* bus);
    ~UsageNotifier() override;
    UsageNotifier(const UsageNotifier&) = delete;
    UsageNotifier& operator=(const UsageNotifier&) = delete;

    void notifyBelow50(ProviderID id, const UsageLimit& limit) override;
    void notifyBelow10(ProviderID id, const UsageLimit& limit) override;
    void notifyReset(ProviderID id, const UsageLimit& limit) override;
    void notifyLoginExpired(ProviderID id) override;
    void notifyLoginExpiring(ProviderID id, int days) override;
    // The pace warning ("Claude: at this pace you run out in 40m, 1h 30m before the reset").
    void notifyPace(ProviderID id, const std::string& text);

    // Who hears the clicks (the application: it opens the panel or the login window).
    void setActionHandler(ActionHandler handler) { onAction_ = std::move(handler); }

    // Whether the one-time set-up of this run has been made.
    bool setUpDone() const { return setUpDone_; }

    // One notification as it is posted: `kind` is what a later one of the same kind replaces.
    struct Notice {
        std::string kind;
        std::optional<ProviderID> service;
        std::string title;
        std::string body;
        std::vector<std::pair<std::string, std::string>> buttons; // action key, label
    };

  private:
    void send(Notice notice);
    void listen(GDBusConnection* bus);
    static Task<void> post(UsageNotifier* self, bool firstOfRun, Notice notice,
                           std::shared_ptr<AsyncEvent> previous, std::shared_ptr<AsyncEvent> done);
    static void onSignal(GDBusConnection*, const char*, const char*, const char*, const char* signal,
                         GVariant* params, gpointer self);

    GObjectPtr<GDBusConnection> bus_;
    guint subscription_ = 0;                                  // ActionInvoked and NotificationClosed on bus_
    std::map<std::string, unsigned> shownOfKind_;             // the notice on screen of each kind, by its id
    std::map<unsigned, std::optional<ProviderID>> serviceOf_; // the service of each notice on screen
    ActionHandler onAction_;
    bool setUpDone_ = false;
    std::shared_ptr<AsyncEvent> lastPost_; // the newest post, which the next one waits for
    TaskGroup tasks_;                      // the posts under way; last, so it goes first
};

} // namespace ostrel
