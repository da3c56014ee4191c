#include "ui/gauges/gauge_drawing.h"

namespace ostrel {

void drawGauge(GtkSnapshot* snapshot, GaugeTheme theme, const GaugeInputs& in, Size size,
               const GaugeStyle& style) {
    if (size.width <= 0 || size.height <= 0) return;
    switch (theme) {
    case GaugeTheme::glass:
        drawGlassGauge(snapshot, in, size);
        return;
    case GaugeTheme::bubble:
        drawBubbleGauge(snapshot, in, size);
        return;
    case GaugeTheme::meter:
        drawMeterGauge(snapshot, in, size, style);
        return;
    case GaugeTheme::candle:
        drawCandleGauge(snapshot, in, size, style);
        return;
    case GaugeTheme::hearts:
        drawHeartsGauge(snapshot, in, size, style);
        return;
    case GaugeTheme::plant:
        drawPlantGauge(snapshot, in, size);
        return;
    }
}

} // namespace ostrel
