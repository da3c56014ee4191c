#include "app_fixture.h"

#include "web/web_session.h"

#include <gtk/gtk.h>

namespace ostrel::test {

using namespace std::chrono_literals;

namespace {

GObjectPtr<GDBusConnection> connect(GTestDBus* bus) {
    return adopt(g_dbus_connection_new_for_address_sync(
        g_test_dbus_get_bus_address(bus),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
}

Task<void> addCookie(WebKitCookieManager* manager, std::string name, std::string value, std::string host) {
    SoupCookie* cookie = soup_cookie_new(name.c_str(), value.c_str(), host.c_str(), "/", 3600);
    co_await gioCall([&](GAsyncReadyCallback cb, gpointer ud) {
        webkit_cookie_manager_add_cookie(manager, cookie, nullptr, cb, ud);
    });
    soup_cookie_free(cookie);
}

Task<GVariantPtr> itemProperty(GDBusConnection* host, std::string busName, std::string property) {
    auto res = co_await gioCall([&](GAsyncReadyCallback cb, gpointer ud) {
        g_dbus_connection_call(host, busName.c_str(), "/StatusNotifierItem",
                               "org.freedesktop.DBus.Properties", "Get",
                               g_variant_new("(ss)", "org.kde.StatusNotifierItem", property.c_str()), nullptr,
                               G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, cb, ud);
    });
    co_return GVariantPtr(g_dbus_connection_call_finish(host, res.get(), nullptr));
}

} // namespace

void AppFixture::SetUp() {
    g_setenv("GTK_A11Y", "none", TRUE);
    gtk_init();
    // The private bus unsets DISPLAY (against X11 bus autolaunch); the web processes still need it.
    const std::string display = g_getenv("DISPLAY") ? g_getenv("DISPLAY") : "";
    bus_ = adopt(g_test_dbus_new(G_TEST_DBUS_NONE));
    g_test_dbus_up(bus_.get());
    if (!display.empty()) g_setenv("DISPLAY", display.c_str(), TRUE);
    appBus_ = connect(bus_.get());
    hostBus_ = connect(bus_.get());
    ASSERT_TRUE(appBus_ && hostBus_);
    notifications_ = std::make_unique<fake::FakeNotifications>(hostBus_.get());
    watcher_ = std::make_unique<fake::FakeTrayWatcher>(hostBus_.get());
    ASSERT_TRUE(runLoopUntil([&] { return notifications_->owned() && watcher_->owned(); }, 5s));
}

void AppFixture::TearDown() {
    presenter_.reset();
    tray_.reset();
    core_.reset();
    drain();
    notifications_.reset();
    watcher_.reset();
    appBus_.reset();
    hostBus_.reset();
    g_test_dbus_down(bus_.get());
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
    options.bus = appBus_.get();
    testing::internal::CaptureStdout();
    core_ = std::make_unique<AppCore>(options, clock ? *clock : systemClock_);
    tray_ = std::make_unique<StatusNotifierItem>(appBus_.get(), StatusNotifierItem::Actions{});
    presenter_ = std::make_unique<TrayPresenter>(core_->model(), *tray_);
    log_ += testing::internal::GetCapturedStdout();
}

void AppFixture::logInEverywhere() {
    WebKitCookieManager* cookies = core_->web().cookies();
    runSync(addCookie(cookies, fake::FakeClaude::cookieName, claude_.issueSession(), claude_.host()), 10s);
    runSync(addCookie(cookies, fake::FakeCursor::cookieName, cursor_.issueSession(), cursor_.host()), 10s);
    runSync(addCookie(cookies, fake::FakeChatGPT::cookieName, chatgpt_.issueSession(), chatgpt_.host()), 10s);
}

void AppFixture::refresh(ProviderID id) {
    testing::internal::CaptureStdout();
    std::exception_ptr error;
    try {
        runSync(core_->model().refresh(id), 120s);
    } catch (...) {
        error = std::current_exception();
    }
    log_ += testing::internal::GetCapturedStdout();
    if (error) std::rethrow_exception(error);
}

std::string AppFixture::trayTitle() {
    GVariantPtr v = runSync(itemProperty(hostBus_.get(), tray_->busName(), "Title"), 10s);
    if (!v) return "(no answer)";
    GVariant* inner = nullptr;
    g_variant_get(v.get(), "(v)", &inner);
    std::string out = g_variant_get_string(inner, nullptr);
    g_variant_unref(inner);
    return out;
}

std::string AppFixture::trayLabel() {
    GVariantPtr v = runSync(itemProperty(hostBus_.get(), tray_->busName(), "XAyatanaLabel"), 10s);
    if (!v) return "(no answer)";
    GVariant* inner = nullptr;
    g_variant_get(v.get(), "(v)", &inner);
    std::string out = g_variant_get_string(inner, nullptr);
    g_variant_unref(inner);
    return out;
}

bool AppFixture::hasCookie(ProviderID id, const std::string& name) {
    return runSync(core_->session(id).hasCookie(name), 10s);
}

} // namespace ostrel::test
