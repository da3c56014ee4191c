// The heart row: small squares straight into the snapshot, one transform per heart.
#include "ui/gauges/gauge_drawing.h"
#include "ui/gauges/hearts_layout.h"

namespace ostrel {

void drawHeartsGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size, const GaugeStyle& style) {
    const HeartsLayout layout = heartsLayout(in, size);
    const auto colours = liquidColors(in.state);
    const Rgba inks[] = {withOpacity(style.text, 0.14), white(0.85), withOpacity(colours[0], 1),
                         withOpacity(colours[1], 1)};
    for (const HeartPlacement& heart : layout.hearts) {
        SnapshotState state(snapshot);
        transformSnapshot(snapshot, heart.transform);
        for (const HeartPixel& pixel : heartPixels(heart.fill, layout.px))
            appendColour(snapshot, pixel.square, inks[static_cast<int>(pixel.ink)]);
    }
}

} // namespace ostrel
