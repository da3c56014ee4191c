#include "tray/tray_layout.h"

namespace ostrel {

TrayShape chooseTrayShape(TrayLayout setting, std::string_view override, std::string_view host) {
    const bool textHost = host == "gnome-shell";
    const TrayShape oneItem = textHost ? TrayShape::textBeside : TrayShape::label;
    if (override == "label") return oneItem;
    if (override == "per-service") return TrayShape::perService;
    switch (setting) {
    case TrayLayout::label:
        return oneItem;
    case TrayLayout::perService:
        return TrayShape::perService;
    case TrayLayout::automatic:
        break;
    }
    return textHost || host == "waybar" ? oneItem : TrayShape::perService;
}

} // namespace ostrel
