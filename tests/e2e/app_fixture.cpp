#include "app_fixture.h"

#include "support/display.h"
#include "support/loop.h"
#include "web/web_session.h"

#include <gtk/gtk.h>

namespace ostrel::test {

using namespace std::chrono_literals;

void AppFixture::SetUp() {
    g_setenv("GTK_A11Y", "none", TRUE);
    ASSERT_TRUE(test::startGtk()) << "no display";
    bus_ = std::make_unique<PrivateBus>();
    appBus_ = bus_->connect();
    hostBus_ = bus_->connect();
    ASSERT_TRUE(appBus_ && hostBus_);
    notifications_ = std::make_unique<fake::FakeNotifications>(hostBus_.get());
    watcher_ = std::make_unique<fake::FakeTrayWatcher>(hostBus_.get());
    ASSERT_TRUE(runLoopUntil([&] { return notifications_->owned() && watcher_->owned(); }, 5s));
}

void AppFixture::TearDown() {
    // A refresh a test started in passing (a settings change starts one) must end before the web
    // sessions it runs in go away.
    if (core_) runLoopUntil([&] { return !core_->model().isRefreshing(); }, 60s);
    presenter_.reset();
    tray_.reset();
    core_.reset();
    drain(); // the rest goes in the reverse of its order in the class
}

void AppFixture::startApp(Clock* clock) {
    AppCore::Options options;
    options.services.claude = *ServiceEndpoint::parse(claude_.origin());
    options.services.cursor = *ServiceEndpoint::parse(cursor_.origin());
    options.services.chatgpt = *ServiceEndpoint::parse(chatgpt_.origin());
    options.services.chatgptAccountDomain = chatgpt_.accountHost();
    options.settingsPath = settingsPath();
    options.webDataDir = webDataDir();
    options.webCacheDir = webCacheDir();
    options.historyPath = dir_.file("state/ostrel/history.sqlite");
    options.bus = appBus_.get();
    core_ = std::make_unique<AppCore>(options, clock ? *clock : systemClock_);
    tray_ = std::make_unique<TrayItem>(appBus_.get(), nullptr);
    presenter_ = std::make_unique<TrayPresenter>(core_->model(), *tray_);
}

void AppFixture::logInEverywhere() {
    WebContext& web = core_->web();
    runSync(web.addCookie(fake::FakeClaude::cookieName, claude_.issueSession(), claude_.host()), 10s);
    runSync(web.addCookie(fake::FakeCursor::cookieName, cursor_.issueSession(), cursor_.host()), 10s);
    runSync(web.addCookie(fake::FakeChatGPT::cookieName, chatgpt_.issueSession(), chatgpt_.host()), 10s);
}

std::string AppFixture::trayTitle() {
    const std::string value = runSync(trayItemProperty(hostBus_.get(), tray_->busName(), "Title"), 10s);
    return value.empty() ? "(no answer)" : value;
}

bool AppFixture::hasCookie(ProviderID id, const std::string& name) {
    return runSync(core_->session(id).hasCookie(name), 10s);
}

} // namespace ostrel::test
