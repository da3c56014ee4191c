// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The tray's colours: the level tints and the chip every picture with digits sits on. A tray item
// cannot know its bar's colour (waybar and many panels say nothing), so the digits never rely on
// it: they are drawn on a chip of their own, whose shade follows the bar's style when one is known.

#include "base/rgb.h"
#include "base/usage.h"

namespace ostrel {

// The chip behind the digits: the reference dark bar (#222222) or light bar (#eeeeee).
Rgb chipColour(bool isDark);
// The text on the chip: white on the dark one, black on the light one.
Rgb chipTextColour(bool isDark);

// The logo and digit tint for a level on a dark or a light chip; each keeps at least 3:1 against
// its chip, the contrast large text needs.
Rgb iconColor(UsageLevel level, bool isDark);

// The WCAG contrast ratio of two colours, 1 (none) to 21 (black on white).
double contrastRatio(Rgb a, Rgb b);

} // namespace ostrel
