#include "tray/tray_presenter.h"

#include "tray/tray_label.h"

namespace ostrel {

TrayPresenter::TrayPresenter(UsageModel& model, TrayItem& item) : model_(model), item_(item) {
    changed_ = model_.changed.connect([this] { update(); });
    update();
}

TrayPresenter::~TrayPresenter() {
    changed_.disconnect();
}

std::vector<TrayPixmap> TrayPresenter::labelPixmaps(const std::vector<TrayEntry>& items, bool isDark) {
    std::vector<TrayPixmap> out;
    for (double scale : {1.0, 2.0}) {
        CairoSurfacePtr surface = items.empty() ? renderPlainIcon(static_cast<int>(22 * scale), isDark)
                                                : TrayLabel{items, isDark}.render(scale);
        if (surface) out.push_back(TrayPixmap::fromSurface(surface.get()));
    }
    return out;
}

std::string TrayPresenter::labelText(const std::vector<TrayEntry>& items) {
    std::string out;
    for (const TrayEntry& item : items)
        out += (out.empty() ? "" : "  ") + item.text;
    return out;
}

void TrayPresenter::update() {
    std::vector<TrayEntry> items = model_.trayEntries();
    std::string title = model_.trayAccessibilityText();
    const bool dark = model_.isDarkTray();
    if (shownItems_ == items && shownDark_ == dark && shownTitle_ == title) return;
    item_.update(labelPixmaps(items, dark), title, labelText(items));
    shownItems_ = std::move(items);
    shownDark_ = dark;
    shownTitle_ = std::move(title);
}

} // namespace ostrel
