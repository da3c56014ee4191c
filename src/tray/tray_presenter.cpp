#include "tray/tray_presenter.h"

#include "tray/tray_label.h"

namespace ostrel {

TrayPresenter::TrayPresenter(UsageModel& model, TrayItem& item, bool squareIcon)
    : model_(model), item_(item), squareIcon_(squareIcon) {
    changed_ = model_.changed.connect([this] { update(); });
    update();
}

TrayPresenter::~TrayPresenter() {
    changed_.disconnect();
}

std::vector<TrayPixmap> TrayPresenter::labelPixmaps(const std::vector<TrayEntry>& items, bool isDark,
                                                    bool squareIcon) {
    std::vector<TrayPixmap> out;
    for (double scale : {1.0, 2.0}) {
        CairoSurfacePtr surface = items.empty() || squareIcon
                                      ? renderPlainIcon(static_cast<int>(22 * scale), isDark)
                                      : TrayLabel{items, isDark}.render(scale);
        if (surface) out.push_back(TrayPixmap::fromSurface(surface.get()));
    }
    return out;
}

void TrayPresenter::update() {
    std::vector<TrayEntry> items = model_.trayEntries();
    std::string title = model_.trayAccessibilityText();
    const bool dark = model_.isDarkTray();
    if (shownItems_ == items && shownDark_ == dark && shownTitle_ == title) return;
    item_.update(labelPixmaps(items, dark, squareIcon_), title, trayLabelText(items));
    shownItems_ = std::move(items);
    shownDark_ = dark;
    shownTitle_ = std::move(title);
}

} // namespace ostrel
