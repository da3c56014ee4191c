#include "app/tray_presenter.h"

#include "app/menu_bar_label.h"

namespace ostrel {

TrayPresenter::TrayPresenter(UsageModel& model, StatusNotifierItem& item) : model_(model), item_(item) {
    changed_ = model_.changed.connect([this] { update(); });
    update();
}

TrayPresenter::~TrayPresenter() {
    changed_.disconnect();
}

std::vector<StatusNotifierItem::Pixmap> TrayPresenter::labelPixmaps(const std::vector<MenuBarItem>& items,
                                                                    bool isDark) {
    std::vector<StatusNotifierItem::Pixmap> out;
    for (double scale : {1.0, 2.0}) {
        CairoSurfacePtr surface = items.empty() ? renderPlainIcon(static_cast<int>(22 * scale), isDark)
                                                : MenuBarLabel{items, isDark}.render(scale);
        if (surface) out.push_back(StatusNotifierItem::fromSurface(surface.get()));
    }
    return out;
}

std::string TrayPresenter::labelText(const std::vector<MenuBarItem>& items) {
    std::string out;
    for (const MenuBarItem& item : items)
        out += (out.empty() ? "" : "  ") + item.text;
    return out;
}

void TrayPresenter::update() {
    std::vector<MenuBarItem> items = model_.menuBarItems();
    std::string title = model_.menuBarAccessibilityText();
    const bool dark = model_.isDarkMenuBar();
    if (shownItems_ == items && shownDark_ == dark && shownTitle_ == title) return;
    item_.update(labelPixmaps(items, dark), title, labelText(items));
    shownItems_ = std::move(items);
    shownDark_ = dark;
    shownTitle_ = std::move(title);
}

} // namespace ostrel
