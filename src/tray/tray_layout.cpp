#include "tray/tray_layout.h"

namespace ostrel {

TrayShape chooseTrayShape(TrayLayout setting, std::string_view override, std::string_view host) {
    if (override == "label") return TrayShape::label;
    if (override == "per-service") return TrayShape::perService;
    switch (setting) {
    case TrayLayout::label:
        return TrayShape::label;
    case TrayLayout::perService:
        return TrayShape::perService;
    case TrayLayout::automatic:
        break;
    }
    return host == "waybar" || host == "gnome-shell" ? TrayShape::label : TrayShape::perService;
}

} // namespace ostrel
