#pragma once
// Exports the app's status on D-Bus, beside the application's own object, for status bars and
// scripts (`ostrel status`): the object /app/ostrel/Ostrel/Status with the interface
// app.ostrel.Ostrel.Status, whose properties are
//   Json   (s) the status document (services, levels, reset and run-out times),
//   Text   (s) what the tray says to a screen reader,
//   Waybar (s) one line of a bar's custom-module JSON,
// and whose signal Changed (s json) fires when the document changes. Reading it never fetches.

#include "base/gobject_ptr.h"
#include "model/usage_model.h"

#include <gio/gio.h>
#include <memory>
#include <string>

namespace ostrel {

class UsageHistory;

inline constexpr const char* statusObjectPath = "/app/ostrel/Ostrel/Status";
inline constexpr const char* statusInterface = "app.ostrel.Ostrel.Status";

class StatusService {
  public:
    // Registers the object on `bus` (which the app's well-known name is owned on).
    StatusService(GDBusConnection* bus, UsageModel& model, const UsageHistory* history);
    ~StatusService();
    StatusService(const StatusService&) = delete;
    StatusService& operator=(const StatusService&) = delete;

    bool registered() const { return registration_ != 0; }
    std::string property(const std::string& name) const;

  private:
    void onModelChanged();

    GObjectPtr<GDBusConnection> bus_;
    UsageModel& model_;
    const UsageHistory* history_;
    unsigned registration_ = 0;
    std::string lastJson_;
    sigc::connection connection_;
};

} // namespace ostrel
