#pragma once
// Draws the tray label: for each item the service's logo tinted by level and its text, on a chip of
// its own, in a row. Rendered with Cairo and Pango into an ARGB image at the screen's scale.

#include "model/usage_model.h"
#include "tray/tray_colours.h"
#include "ui/common/cairo_ptr.h"

#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// A service's name in two letters, for a label text that must stay short.
std::string_view shortName(ProviderID id);
// The label as text, for hosts that print it beside a square icon (GNOME Shell): each service's
// short name and text, e.g. "Cl 75% · 7m  Cu 63%  Cx 90%".
std::string trayLabelText(const std::vector<TrayEntry>& items);

struct TrayLabel {
    std::vector<TrayEntry> items;
    bool isDark = true;

    // The label at `scale` device pixels per point; null when there is nothing to draw.
    CairoSurfacePtr render(double scale) const;
};

// One service as a square icon, for hosts that squeeze wide icons: the percentage left in large
// digits tinted by level, with the service's short name small above them, on a chip.
CairoSurfacePtr renderServiceBadge(ProviderID id, double percentLeft, UsageLevel level, bool isDark,
                                   int pixels);

// The plain tray icon, `pixels` square: the app's mark on a chip.
CairoSurfacePtr renderPlainIcon(int pixels, bool isDark);

} // namespace ostrel
