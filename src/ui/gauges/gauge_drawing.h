#pragma once
// The six gauge pictures. Each draws into a snapshot, in a W × H frame whose origin is the current
// snapshot origin, as a pure function of the gauge inputs, the size and the desktop's text style.

#include "ui/gauges/draw_support.h"
#include "ui/gauges/gauge_theme.h"

#include <gtk/gtk.h>

namespace ostrel {

void drawGlassGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size);
void drawBubbleGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size);
void drawMeterGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size, const GaugeStyle& style);
void drawCandleGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size, const GaugeStyle& style);
void drawHeartsGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size, const GaugeStyle& style);
void drawPlantGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size);

// Draws exactly the gauge of `theme`.
void drawGauge(GtkSnapshot* snapshot, GaugeTheme theme, const GaugeInputs& in, Size size,
               const GaugeStyle& style);

} // namespace ostrel
