#include "tray/service_tray_items.h"

#include "tray/tray_label.h"

namespace ostrel {

ServiceTrayItems::ServiceTrayItems(UsageModel& model, ItemFactory makeItem)
    : model_(model), makeItem_(std::move(makeItem)) {
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
    // Items keep their places: the first stays, later ones come and go at the end.
    while (items_.size() > wanted)
        items_.pop_back();
    while (items_.size() < wanted)
        items_.push_back(makeItem_(static_cast<int>(items_.size()) + 1));

    if (shown.empty()) {
        std::vector<TrayPixmap> icon;
        for (int px : {22, 44})
            icon.push_back(TrayPixmap::fromSurface(renderPlainIcon(px, dark).get()));
        items_[0]->setService("");
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
        items_[i]->update(std::move(badge), spokenText(item), item.text);
    }
}

} // namespace ostrel
