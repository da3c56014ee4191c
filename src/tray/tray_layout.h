#pragma once
// Which tray the desktop gets: one wide label or one square item per service. Hosts that show a
// wide icon whole (waybar) or print the label beside the icon (GNOME Shell's AppIndicator
// extension) get the label; Plasma, Xfce and hosts we cannot name squeeze a wide icon into a
// square, so they get one item per service.

#include "model/app_settings.h"

#include <string_view>

namespace ostrel {

enum class TrayShape { label, perService };

// `setting` is the user's choice; `override` the OSTREL_TRAY_ITEMS environment variable ("label" or
// "per-service", anything else is ignored); `host` the name of the tray host's process ("" when
// unknown or absent).
TrayShape chooseTrayShape(TrayLayout setting, std::string_view override, std::string_view host);

} // namespace ostrel
