// The potted plant: swaying stem and leaves behind the pot, rim and soil.
#include "ui/gauges/gauge_drawing.h"
#include "ui/gauges/plant_layout.h"

namespace ostrel {

namespace {

void fillLeaf(cairo_t* cr, const PlantLeaf& leaf, Rgb colour) {
    cairo_save(cr);
    applyAffine(cr, leaf.transform);
    PatternPtr paint =
        verticalGradient(leaf.ellipse, {{0, withOpacity(colour, 1)}, {1, withOpacity(colour, 0.75)}});
    traceEllipse(cr, leaf.ellipse);
    cairo_set_source(cr, paint.get());
    cairo_fill(cr);
    cairo_restore(cr);
}

} // namespace

void drawPlantGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size) {
    const PlantLayout p = plantLayout(in, size);
    const Rgb colour = leafColor(in.state);
    // Leaves may reach a little past the frame when the plant bends over.
    CairoPtr owner = appendCairo(snapshot, {0, 0, size.width, size.height}, 0.1 * size.width);
    cairo_t* cr = owner.get();

    cairo_save(cr);
    applyAffine(cr, p.sway);
    Path stem;
    stem.moveTo(p.stemStart);
    stem.quadTo(p.stemControl, p.stemTip);
    tracePath(cr, stem);
    setColour(cr, withOpacity(colour, 0.9));
    cairo_set_line_width(cr, p.stemWidth);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_stroke(cr);
    cairo_restore(cr);

    for (const PlantLeaf& leaf : p.sideLeaves)
        fillLeaf(cr, leaf, colour);
    fillLeaf(cr, p.topLeaf, colour);

    PatternPtr pot =
        verticalGradient(p.pot, {{0, Rgba{0.85, 0.48, 0.30, 1}}, {1, Rgba{0.66, 0.33, 0.20, 1}}});
    tracePath(cr, bowlShape(p.pot));
    cairo_set_source(cr, pot.get());
    cairo_fill(cr);

    traceRoundedRect(cr, p.rim, p.rimCorner);
    setColour(cr, {0.90, 0.55, 0.36, 1});
    cairo_fill(cr);

    traceEllipse(cr, p.soil);
    setColour(cr, {0.32, 0.22, 0.15, 1});
    cairo_fill(cr);
}

} // namespace ostrel
