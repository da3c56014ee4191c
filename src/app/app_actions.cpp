// The application's actions: what the panel's buttons and keys and the tray's clicks and menu
// activate by name.
//   app.quit           ends the run ("Quit Ostrel", Ctrl+Q on the settings screen, the tray menu)
//   app.refresh        refreshes every active service ("Refresh", Ctrl+R on the settings screen)
//   app.open-panel     opens the panel where the desktop puts it
//   app.open-panel-at  (ii): opens it by the tray click at that screen position; 0, 0 when the
//                      host did not say, which opens it as app.open-panel does
#include "app/ostrel_app.h"

#include <tuple>

namespace ostrel {

void OstrelApp::addActions() {
    add_action("quit", [this] { quit(); });
    add_action("refresh", [this] {
        if (core_) core_->model().runOwned(core_->model().refreshAll());
    });
    add_action("open-panel", [this] { openPanel(); });
    add_action_with_parameter(
        "open-panel-at", Glib::VariantType("(ii)"), [this](const Glib::VariantBase& where) {
            const auto [x, y] =
                Glib::VariantBase::cast_dynamic<Glib::Variant<std::tuple<int, int>>>(where).get();
            if (x == 0 && y == 0)
                openPanel();
            else
                openPanel(std::pair{x, y});
        });
}

} // namespace ostrel
