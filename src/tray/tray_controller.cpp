#include "tray/tray_controller.h"

#include "base/log.h"

#include <glib.h>

namespace ostrel {

namespace {
// How long the number of per-service items holds still before they are made again.
constexpr std::chrono::milliseconds itemsSettle{2000};
} // namespace

TrayController::TrayController(UsageModel& model, GDBusConnection* bus, GActionGroup* actions)
    : model_(model), bus_(bus), actions_(actions),
      override_(g_getenv("OSTREL_TRAY_ITEMS") ? g_getenv("OSTREL_TRAY_ITEMS") : ""), host_(bus) {
    settingsChanged_ = model_.settings().changed.connect([this] { apply(); });
    hostChanged_ = host_.changed.connect([this] { apply(); });
    apply();
    if (!bus_) {
        setPresent(false);
        return;
    }
    watchId_ = g_bus_watch_name_on_connection(
        bus_, "org.kde.StatusNotifierWatcher", G_BUS_NAME_WATCHER_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, gpointer self) {
            static_cast<TrayController*>(self)->setPresent(true);
        },
        [](GDBusConnection*, const char*, gpointer self) {
            static_cast<TrayController*>(self)->setPresent(false);
        },
        this, nullptr);
}

TrayController::~TrayController() {
    if (watchId_) g_bus_unwatch_name(watchId_);
    settingsChanged_.disconnect();
    hostChanged_.disconnect();
}

void TrayController::apply() {
    // Automatic waits for the host's name (a bounded look-up), so a label host never sees the
    // square items come and go at start.
    const bool hostMatters = model_.settings().trayLayout() == TrayLayout::automatic &&
                             override_ != "label" && override_ != "per-service";
    if (hostMatters && !host_.settled() && !shape_) return;
    const TrayShape shape = chooseTrayShape(model_.settings().trayLayout(), override_, host_.name());
    const bool newestFirst = showsNewestFirst(host_.name());
    if (shape_ == shape && (shape == TrayShape::label || newestFirst == newestFirst_)) return;
    // The old items leave the bus before the new ones take their names.
    services_.reset();
    presenter_.reset();
    label_.reset();
    shape_ = shape;
    newestFirst_ = newestFirst;
    if (shape == TrayShape::perService) {
        GDBusConnection* bus = bus_;
        GActionGroup* actions = actions_;
        services_ = std::make_unique<ServiceTrayItems>(
            model_,
            [bus, actions](int index) { return std::make_unique<TrayItem>(bus, actions, index, true); },
            newestFirst, itemsSettle);
    } else {
        label_ = std::make_unique<TrayItem>(bus_, actions_);
        presenter_ = std::make_unique<TrayPresenter>(model_, *label_, shape == TrayShape::textBeside);
    }
    log(std::string("Tray: ") + (shape == TrayShape::label        ? "one label"
                                 : shape == TrayShape::textBeside ? "one icon with the label as text"
                                                                  : "one item per service"));
}

} // namespace ostrel

namespace ostrel {

void TrayController::setPresent(bool present) {
    if (trayPresent_ == present) return;
    trayPresent_ = present;
    presenceChanged.emit();
}

} // namespace ostrel
