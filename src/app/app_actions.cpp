// The application's actions: what the panel's buttons and keys and the tray's clicks and menu
// activate by name.
//   app.quit           ends the run ("Quit Ostrel", Ctrl+Q on the settings screen, the tray menu)
//   app.refresh        refreshes every active service ("Refresh", Ctrl+R on the settings screen)
//   app.open-panel     opens the panel where the desktop puts it
//   app.about          the about window (the settings screen's row, the tray menu)
//   app.toggle-panel-at (sii): a tray item's click: the item's service ("" for none) and the
//                      click's screen position (0, 0 when the host did not say); opens the panel
//                      on that service's tab by the click, or closes it when it shows that tab
#include "app/ostrel_app.h"

#include <tuple>

namespace ostrel {

void OstrelApp::addActions() {
    add_action("quit", [this] { quit(); });
    add_action("refresh", [this] {
        if (core_) core_->model().runOwned(core_->model().refreshAll());
    });
    add_action("open-panel", [this] { openPanel(); });
    add_action("about", [this] { showAbout(); });
    add_action_with_parameter(
        "toggle-panel-at", Glib::VariantType("(sii)"), [this](const Glib::VariantBase& click) {
            const auto [service, x, y] =
                Glib::VariantBase::cast_dynamic<Glib::Variant<std::tuple<Glib::ustring, int, int>>>(click)
                    .get();
            std::optional<std::pair<int, int>> near;
            if (x != 0 || y != 0) near = std::pair{x, y};
            togglePanel(service, near);
        });
}

} // namespace ostrel
