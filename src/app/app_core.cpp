#include "app/app_core.h"

#include "providers/claude_provider.h"
#include "providers/codex_provider.h"
#include "providers/cursor_provider.h"
#include "web/web_session.h"

namespace ostrel {

AppCore::AppCore(Options options, Clock& clock)
    : settings_(options.settingsPath.empty() ? std::make_unique<AppSettings>()
                                             : std::make_unique<AppSettings>(options.settingsPath)),
      web_(options.webDataDir.empty()
               ? std::make_unique<WebContext>()
               : std::make_unique<WebContext>(options.webDataDir, options.webCacheDir)),
      notifier_(options.bus), feedbackEndpoint_(options.services.feedback.url("/api/feedback")) {
    const ServiceConfig& s = options.services;
    auto session = [&](ProviderID id, const ServiceEndpoint& e, const char* home,
                       std::vector<std::string> domains) {
        auto web = std::make_unique<WebSession>(*web_, e.host, e.url(home), std::move(domains));
        sessions_[id] = web.get();
        return web;
    };
    // Created in service order, each starting to load its home page at once.
    UsageModel::Providers providers;
    providers[ProviderID::claude] = std::make_unique<ClaudeProvider>(
        session(ProviderID::claude, s.claude, ClaudeProvider::homePath, {}), s.claude, clock);
    providers[ProviderID::cursor] = std::make_unique<CursorProvider>(
        session(ProviderID::cursor, s.cursor, CursorProvider::homePath, CursorProvider::loginDomains(s)),
        s.cursor, clock);
    providers[ProviderID::codex] = std::make_unique<CodexProvider>(
        session(ProviderID::codex, s.chatgpt, CodexProvider::homePath, CodexProvider::loginDomains(s)),
        s.chatgpt, clock);
    model_ = std::make_unique<UsageModel>(*settings_, std::move(providers), clock, notifier_, login_);

    history_ = std::make_unique<UsageHistory>(*model_, options.historyPath);
    model_->setHistory(history_.get());
    history_->onPaceWarning = [this](ProviderID id, const std::string& text) {
        notifier_.notifyPace(id, text);
    };
    systemWatch_ = std::make_unique<SystemWatch>(*model_);
}

AppCore::~AppCore() {
    systemWatch_.reset();
    model_->setHistory(nullptr);
    history_.reset();
}

WebSession& AppCore::session(ProviderID id) {
    return *sessions_.at(id);
}

} // namespace ostrel
