#include "app/ostrel_app.h"

#include "app/status_cli.h"
#include "async/loop.h"
#include "base/log.h"
#include "ui/panel/about_window.h"
#include "ui/panel/panel_window.h"

#include <cstdio>
#include <cstring>
#include <glib-unix.h>
#include <gtkmm/icontheme.h>
#include <iostream>
#include <tuple>
#include <unistd.h>

namespace ostrel {

namespace {
constexpr const char* appId = "app.ostrel.Ostrel";
constexpr const char* demoAppId = "app.ostrel.Ostrel.Demo"; // runs beside a real instance

int runStatusCommand(bool demo, int argc, char** argv) {
    std::string error;
    auto request = parseStatusArgs(std::vector<std::string>(argv, argv + argc), error);
    if (!request) {
        std::fprintf(stderr, "ostrel: %s (see ostrel --help)\n", error.c_str());
        return 2;
    }
    request->busName = demo ? demoAppId : appId;
    request->outputFd = STDOUT_FILENO;
    return runStatus(*request, nullptr, std::cout, std::cerr);
}

Task<void> startAfterLogin(AppCore* core, Demo* demo) {
    if (demo) co_await demo->logIn(*core);
    core->model().start();
}

// How long the first start waits for the bus to say whether there is a tray.
constexpr auto trayAnswerBound = std::chrono::seconds(3);
} // namespace

Task<void> OstrelApp::openWithoutTray(OstrelApp* self) {
    // The bus answers in a moment; a bus that says nothing counts as no tray.
    for (auto waited = std::chrono::milliseconds(0); !self->tray_->trayPresent() && waited < trayAnswerBound;
         waited += std::chrono::milliseconds(100))
        co_await sleepFor(std::chrono::milliseconds(100));
    if (self->tray_->trayPresent().value_or(false)) co_return;
    if (!self->tray_->trayPresent()) self->panel_->setTrayPresent(false);
    log("No system tray: the panel opens as a window");
    self->openPanel();
}

Glib::RefPtr<OstrelApp> OstrelApp::create(bool demo) {
    return Glib::make_refptr_for_instance(new OstrelApp(demo));
}

OstrelApp::OstrelApp(bool demo) : Gtk::Application(demo ? demoAppId : appId), demoMode_(demo) {}

OstrelApp::~OstrelApp() {
    // The start-up task first, then the panel (it watches the model), then what the model drives,
    // then the demo services.
    tasks_.cancelAll();
    panel_.reset();
    appearance_.reset();
    status_.reset();
    core_.reset();
    demo_.reset();
}

bool OstrelApp::dbus_register_vfunc(const Glib::RefPtr<Gio::DBus::Connection>& connection,
                                    const Glib::ustring& objectPath) {
    // Exported before the name is taken, so a caller that finds the name finds the object too (it
    // says "starting" until the model is there). A second start drops it again with its name.
    status_ = std::make_unique<StatusService>(connection ? connection->gobj() : nullptr);
    return Gtk::Application::dbus_register_vfunc(connection, objectPath);
}

void OstrelApp::dbus_unregister_vfunc(const Glib::RefPtr<Gio::DBus::Connection>& connection,
                                      const Glib::ustring& objectPath) {
    status_.reset();
    Gtk::Application::dbus_unregister_vfunc(connection, objectPath);
}

void OstrelApp::on_startup() {
    Gtk::Application::on_startup();
    hold(); // a tray app: no window keeps it alive
    // Every window carries the app's icon: the installed one, else the copy in the resource bundle
    // (named here, since the demo's application id has another resource folder).
    if (auto display = Gdk::Display::get_default())
        Gtk::IconTheme::get_for_display(display)->add_resource_path("/app/ostrel/Ostrel/icons");
    Gtk::Window::set_default_icon_name("app.ostrel.Ostrel");

    AppCore::Options options;
    if (demoMode_) {
        try {
            demo_ = std::make_unique<Demo>();
        } catch (const std::runtime_error& e) {
            std::fprintf(stderr, "ostrel: %s\n", e.what());
            startFailed_ = true;
            release();
            quit();
            return;
        }
        options.services = demo_->services();
        options.settingsPath = demo_->folder() + "/settings.ini";
        options.webDataDir = demo_->folder() + "/web";
        options.webCacheDir = demo_->folder() + "/cache";
        options.historyPath = demo_->folder() + "/history.sqlite";
        log("Demo: stand-in services at " + options.services.claude.origin() + ", " +
            options.services.cursor.origin() + ", " + options.services.chatgpt.origin());
    } else {
        options.services = ServiceConfig::fromEnvironment();
    }
    GDBusConnection* bus = get_dbus_connection() ? get_dbus_connection()->gobj() : nullptr;
    options.bus = bus;
    core_ = std::make_unique<AppCore>(options, clock_);

    UsageModel& model = core_->model();
    if (!status_) status_ = std::make_unique<StatusService>(bus);
    status_->attach(model, &core_->history());
    appearance_ = std::make_unique<TrayAppearance>(bus, [&model] { model.updateTrayAppearance(); });
    model.setAppearanceSource([this] { return appearance_->barIsDark(); });

    addActions();
    panel_ = std::make_unique<PanelWindow>(model, core_->feedbackEndpoint());
    add_window(*panel_);
    // A click on a notification shows that service's tab; its "Log in" button opens the login.
    core_->notifier().setActionHandler([this](ProviderID id, UsageNotifier::Action action) {
        if (action == UsageNotifier::Action::logIn)
            core_->model().showLogin(id);
        else
            showService(id);
    });

    // The tray's clicks and menu go through the same actions as the panel's buttons.
    tray_ = std::make_unique<TrayController>(model, bus, G_ACTION_GROUP(gobj()));
    // Without a tray the panel is a window of its own; a tray that appears later takes it back.
    trayPresence_ = tray_->presenceChanged.connect(
        [this] { panel_->setTrayPresent(tray_->trayPresent().value_or(true)); });
    panel_->setTrayPresent(tray_->trayPresent().value_or(true));

    // Ctrl+C and a polite kill end the run cleanly (the demo removes its folder).
    auto onSignal = [](gpointer self) -> gboolean {
        static_cast<OstrelApp*>(self)->quit();
        return G_SOURCE_CONTINUE;
    };
    g_unix_signal_add(SIGINT, onSignal, this);
    g_unix_signal_add(SIGTERM, onSignal, this);

    tasks_.spawn(startAfterLogin(core_.get(), demo_.get()));
}

void OstrelApp::on_activate() {
    // A start that failed has set up nothing to show; it is on its way out.
    if (startFailed_) return;
    // The first start sets up the tray, and shows the panel only where there is none; starting the
    // app again opens (raises) the panel.
    if (!std::exchange(activatedOnce_, true)) {
        tasks_.spawn(openWithoutTray(this));
        return;
    }
    activate_action("open-panel");
}

void OstrelApp::openPanel(std::optional<std::pair<int, int>> near) {
    if (panel_) panel_->popup(near);
}

void OstrelApp::togglePanel(const std::string& service, std::optional<std::pair<int, int>> near) {
    if (!panel_ || !core_) return;
    AppSettings& settings = core_->model().settings();
    const bool sameTab = service.empty() || service == settings.selectedProvider();
    // A click on the item while the panel is open first takes the focus away, which hides the
    // panel; the click itself then arrives. That was the closing click.
    if ((panel_->get_visible() || panel_->hidByFocusLossJustNow()) && sameTab) {
        panel_->hide();
        return;
    }
    if (!service.empty()) settings.setSelectedProvider(service);
    if (panel_->get_visible())
        panel_->view().setScreen(PanelScreen::main); // another service's item: its tab, at once
    else
        panel_->popup(near);
}

void OstrelApp::showService(ProviderID id) {
    if (!panel_ || !core_) return;
    core_->model().settings().setSelectedProvider(std::string(rawValue(id)));
    if (panel_->get_visible())
        panel_->view().setScreen(PanelScreen::main);
    else
        panel_->popup();
}

void OstrelApp::showAbout() {
    if (!about_) about_ = std::make_unique<AboutWindow>(OSTREL_VERSION);
    about_->present();
}

void OstrelApp::on_shutdown() {
    // Leave the tray at once; the rest goes with the application object, after the main loop has
    // stopped, so a refresh still under way can never resume into a torn-down session.
    tasks_.cancelAll();
    trayPresence_.disconnect();
    tray_.reset();
    if (panel_) remove_window(*panel_);
    about_.reset();
    Gtk::Application::on_shutdown();
}

int runOstrel(int argc, char** argv) {
    bool demo = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "status") == 0) return runStatusCommand(demo, argc - i - 1, argv + i + 1);
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("Ostrel %s\n", OSTREL_VERSION);
            return 0;
        }
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::printf(
                "Usage: ostrel [--demo] [--version] [--help]\n"
                "       ostrel [--demo] status [--json | --waybar [--follow]]\n\n"
                "Shows in the system tray how much of your Claude, Cursor and Codex allowance is left.\n\n"
                "  --demo     run against built-in stand-in services with demo accounts\n"
                "  --version  print the version and exit\n"
                "  --help     print this help and exit\n\n"
                "Starting Ostrel again while it runs opens its panel.\n\n"
                "  status     print the running app's status: its spoken text, or with --json the\n"
                "             status document, or with --waybar a line for a bar's custom module\n"
                "             (--follow: a line at every change); --demo before it asks the demo\n");
            return 0;
        }
        if (std::strcmp(argv[i], "--demo") == 0) {
            demo = true;
        } else {
            std::fprintf(stderr, "ostrel: unknown option %s (see ostrel --help)\n", argv[i]);
            return 2;
        }
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // log lines appear as they happen, even into a pipe
    // The panel is a small card: GTK's Cairo renderer draws it for a fraction of what its GL renderer
    // costs on the software GL most X sessions without a GPU driver have (its shader caches stayed
    // in memory after the panel closed, and its frames took three times the CPU). A user's own
    // choice stands.
    g_setenv("GSK_RENDERER", "cairo", FALSE);
    auto app = OstrelApp::create(demo);
    char* appArgv[] = {argv[0], nullptr};
    const int status = app->run(1, appArgv);
    return app->startFailed() ? 1 : status;
}

} // namespace ostrel
