#pragma once
// Everything the running app is made of, below the toolkit's application object: the shared web
// context, one provider per service with its web session, the login window, the notifier, the
// settings and the model. The GTK application, the demo and the end-to-end tests build one of these.

#include "app/system_watch.h"
#include "async/clock.h"
#include "model/app_settings.h"
#include "model/usage_history.h"
#include "model/usage_model.h"
#include "model/usage_notifier.h"
#include "providers/service_config.h"
#include "web/login_window.h"
#include "web/web_context.h"

#include <memory>
#include <string>

namespace ostrel {

class WebSession;

class AppCore {
  public:
    struct Options {
        ServiceConfig services;
        std::string settingsPath;       // empty: the default
        std::string webDataDir;         // empty: the default
        std::string webCacheDir;        // empty: the default
        GDBusConnection* bus = nullptr; // for notifications; null: the session bus
        std::string historyPath;        // empty: the default
    };

    AppCore(Options options, Clock& clock);
    AppCore(const AppCore&) = delete;
    AppCore& operator=(const AppCore&) = delete;
    ~AppCore();

    UsageModel& model() { return *model_; }
    UsageHistory& history() { return *history_; }
    AppSettings& settings() { return *settings_; }
    WebContext& web() { return *web_; }
    LoginWindow& loginWindow() { return login_; }
    UsageNotifier& notifier() { return notifier_; }
    // The web session of a service (for the demo, which logs its accounts in).
    WebSession& session(ProviderID id);
    // Where the feedback form posts: the configured feedback service's "/api/feedback".
    const std::string& feedbackEndpoint() const { return feedbackEndpoint_; }

  private:
    std::unique_ptr<AppSettings> settings_;
    std::unique_ptr<WebContext> web_;
    UsageNotifier notifier_;
    std::string feedbackEndpoint_;
    LoginWindow login_;
    std::map<ProviderID, WebSession*> sessions_; // owned by the providers inside the model
    std::unique_ptr<UsageModel> model_;
    std::unique_ptr<UsageHistory> history_;    // listens to the model, so it goes first
    std::unique_ptr<SystemWatch> systemWatch_; // tells the model of sleep and the network; goes first
};

} // namespace ostrel
