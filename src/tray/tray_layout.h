#pragma once
// Which tray the desktop gets, from what each host really draws:
// - GNOME Shell's AppIndicator extension prints the item's label text beside a small square icon
//   and squeezes any wide picture: one item, a square icon, the services named in the text;
// - waybar draws only the picture, at its icon height, at full width: one wide label;
// - Plasma, Xfce and hosts we cannot name squeeze a wide picture into a square: one square item
//   per service.

#include "model/app_settings.h"

#include <string_view>

namespace ostrel {

enum class TrayShape { label, textBeside, perService };

// `setting` is the user's choice; `override` the OSTREL_TRAY_ITEMS environment variable ("label" or
// "per-service", anything else is ignored); `host` the name of the tray host's process ("" when
// unknown or absent). A choice of one item still takes the host's form of it: on GNOME Shell the
// label is text beside a square icon.
TrayShape chooseTrayShape(TrayLayout setting, std::string_view override, std::string_view host);

} // namespace ostrel
