#pragma once
// Exports the app's status on D-Bus, beside the application's own object, for status bars and
// scripts (`ostrel status`): the object /app/ostrel/Ostrel/Status with the interface
// app.ostrel.Ostrel.Status, whose properties are
//   Json   (s) the status document (services, levels, reset and run-out times),
//   Text   (s) what the tray says to a screen reader,
//   Waybar (s) one line of a bar's custom-module JSON,
// and whose signal Changed (s json) fires when the document changes. Reading it never fetches.
// The object is exported before the app takes its name and answers the error
// app.ostrel.Ostrel.Status.Error.Starting until the model is attached, so a caller can tell a
// starting app from a broken one.

#include "base/gobject_ptr.h"
#include "model/usage_model.h"

#include <gio/gio.h>
#include <memory>
#include <string>

namespace ostrel {

class UsageHistory;

inline constexpr const char* statusObjectPath = "/app/ostrel/Ostrel/Status";
inline constexpr const char* statusInterface = "app.ostrel.Ostrel.Status";
inline constexpr const char* statusStartingError = "app.ostrel.Ostrel.Status.Error.Starting";

class StatusService {
  public:
    // Registers the object on `bus` (which the app's well-known name is owned on); it answers
    // "starting" until `attach`.
    explicit StatusService(GDBusConnection* bus);
    StatusService(GDBusConnection* bus, UsageModel& model, const UsageHistory* history);
    void attach(UsageModel& model, const UsageHistory* history);
    bool attached() const { return model_ != nullptr; }
    ~StatusService();
    StatusService(const StatusService&) = delete;
    StatusService& operator=(const StatusService&) = delete;

    bool registered() const { return registration_ != 0; }
    std::string property(const std::string& name) const;

  private:
    void onModelChanged();

    GObjectPtr<GDBusConnection> bus_;
    UsageModel* model_ = nullptr;
    const UsageHistory* history_ = nullptr;
    unsigned registration_ = 0;
    std::string lastJson_;
    sigc::connection connection_;
};

} // namespace ostrel
