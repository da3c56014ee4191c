#include "tray/service_tray_items.h"

#include "tray/tray_label.h"

namespace ostrel {

bool showsNewestFirst(const std::string& host) {
    // Xfce's tray runs as the panel plugin's own process, "panel-<n>-systray", or inside the panel.
    return host == "xfce4-panel" || (host.rfind("panel-", 0) == 0 && host.ends_with("-systray"));
}

ServiceTrayItems::ServiceTrayItems(UsageModel& model, ItemFactory makeItem, bool newestFirst,
                                   std::chrono::milliseconds settle)
    : model_(model), makeItem_(std::move(makeItem)), newestFirst_(newestFirst), settle_(settle) {
    changed_ = model_.changed.connect([this] { update(); });
    update();
}

ServiceTrayItems::~ServiceTrayItems() {
    changed_.disconnect();
}

void ServiceTrayItems::update() {
    const std::vector<TrayEntry> shown = model_.trayEntries();
    const bool dark = model_.isDarkTray();
    const std::size_t wanted = std::max<std::size_t>(shown.size(), 1);
    if (items_.size() != wanted) {
        if (!items_.empty() && settle_.count() > 0) {
            // Wait for the number to hold still; until then the items keep their last look.
            settling_ = SourceId(
                g_timeout_add(static_cast<guint>(settle_.count()), &ServiceTrayItems::onSettled, this));
            return;
        }
        rebuild(wanted);
    }
    settling_.remove();

    if (shown.empty()) {
        std::vector<TrayPixmap> icon;
        for (int px : {22, 44})
            icon.push_back(TrayPixmap::fromSurface(renderPlainIcon(px, dark).get()));
        items_[0]->setService("");
        items_[0]->setTitlePrefix("");
        items_[0]->update(std::move(icon), "Ostrel", "");
        return;
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const TrayEntry& item = shown[i];
        const ProviderState s = model_.state(item.id);
        const double left = s.snapshot && s.snapshot->main ? s.snapshot->main->percentLeft() : 0;
        std::vector<TrayPixmap> badge;
        // Hosts pick the size nearest their own; bars run from 16 to 32 pixels, twice that on HiDPI.
        for (int px : {16, 22, 24, 32, 44, 64})
            badge.push_back(
                TrayPixmap::fromSurface(renderServiceBadge(item.id, left, item.level, dark, px).get()));
        items_[i]->setService(std::string(rawValue(item.id)));
        items_[i]->setTitlePrefix(shown.size() > 1 ? "Ostrel " + std::to_string(i + 1) + " of " +
                                                         std::to_string(shown.size()) + ": "
                                                   : "");
        items_[i]->update(std::move(badge), spokenText(item), item.text);
    }
}

} // namespace ostrel

namespace ostrel {

gboolean ServiceTrayItems::onSettled(gpointer data) {
    auto* self = static_cast<ServiceTrayItems*>(data);
    self->settling_.forget();
    self->rebuild(std::max<std::size_t>(self->model_.trayEntries().size(), 1));
    self->update();
    return G_SOURCE_REMOVE;
}

void ServiceTrayItems::rebuild(std::size_t count) {
    // A host that orders by registration would put an item added later at one end: all of them go
    // and come back in order.
    items_.clear();
    for (std::size_t i = 0; i < count; ++i)
        items_.push_back(makeItem_(static_cast<int>(i) + 1));
    for (std::size_t k = 1; k < count; ++k) {
        const std::size_t at = newestFirst_ ? count - 1 - k : k;
        const std::size_t before = newestFirst_ ? at + 1 : at - 1;
        // The items go together (items_ is cleared at once), so none outlives the one it waits for.
        TrayItem* previous = items_[before].get();
        items_[at]->registerAfter([previous] { return previous->registered(); });
    }
}

} // namespace ostrel
