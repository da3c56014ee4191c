#pragma once
// Draws the tray label: for each item the service's logo tinted by level and its text, in a row.
// Rendered with Cairo and Pango into an ARGB image at the screen's scale.

#include "base/rgb.h"
#include "model/usage_model.h"
#include "ui/common/cairo_ptr.h"

#include <vector>

namespace ostrel {

// The logo colour for a level on a dark or a light bar.
Rgb iconColor(UsageLevel level, bool isDark);

struct TrayLabel {
    std::vector<TrayEntry> items;
    bool isDark = true;

    // The label at `scale` device pixels per point; null when there is nothing to draw.
    CairoSurfacePtr render(double scale) const;
};

// One service as a square icon, for hosts that squeeze wide icons: the percentage left in large
// digits tinted by level, with the service's logo small above them.
CairoSurfacePtr renderServiceBadge(ProviderID id, double percentLeft, UsageLevel level, bool isDark,
                                   int pixels);

// The plain tray icon, `pixels` square, drawn in the bar's text colour.
CairoSurfacePtr renderPlainIcon(int pixels, bool isDark);

} // namespace ostrel
