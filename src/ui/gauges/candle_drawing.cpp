// The candle: halo, dish, wax with its top and drip, wick, and the flame or the smoke.
#include "ui/gauges/candle_layout.h"
#include "ui/gauges/gauge_drawing.h"

namespace ostrel {

namespace {

void drawBody(cairo_t* cr, const CandleLayout& c, const std::array<Rgb, 2>& colours) {
    if (c.lit) {
        PatternPtr halo =
            radialGradient(c.haloCentre, 0, c.haloRadius,
                           {{0, withOpacity(colours[0], 0.45)}, {1, withOpacity(colours[0], 0)}});
        cairo_arc(cr, c.haloCentre.x, c.haloCentre.y, c.haloRadius, 0, 2 * kPi);
        cairo_set_source(cr, halo.get());
        cairo_fill(cr);
    }
    PatternPtr dish = verticalGradient(c.dish, {{0, grey(0.55)}, {1, grey(0.3)}});
    traceEllipse(cr, c.dish);
    cairo_set_source(cr, dish.get());
    cairo_fill(cr);

    PatternPtr wax = horizontalGradient(
        c.wax,
        {{0, Rgba{0.86, 0.80, 0.70, 1}}, {0.5, Rgba{0.99, 0.95, 0.87, 1}}, {1, Rgba{0.84, 0.78, 0.68, 1}}});
    traceRoundedRect(cr, c.wax, c.waxCorner);
    cairo_set_source(cr, wax.get());
    cairo_fill(cr);

    traceEllipse(cr, c.waxTop);
    setColour(cr, {1.0, 0.97, 0.90, 1});
    cairo_fill(cr);

    if (c.drip) {
        traceCapsule(cr, c.dripRect);
        setColour(cr, {1.0, 0.96, 0.88, 1});
        cairo_fill(cr);
    }
    traceCapsule(cr, c.wick);
    setColour(cr, grey(0.2));
    cairo_fill(cr);
}

void drawFlame(GtkSnapshot* snapshot, const CandleLayout& c, const std::array<Rgb, 2>& colours) {
    auto glow = PushedEffect::shadow(snapshot, withOpacity(colours[0], 0.8), 0, 0, c.flameGlowBlur);
    // The stretch and turn are applied inside Cairo: GTK 4.8 misplaces Cairo nodes recorded under a
    // snapshot scale combined with an offset.
    const Path flame = flameShape(c.flameBox);
    CairoPtr cr = appendCairo(snapshot, flame.hullBounds(c.flamePlacement).grown(1));
    applyAffine(cr.get(), c.flamePlacement);
    PatternPtr paint =
        verticalGradient(c.flameBox, {{0, withOpacity(colours[0], 1)}, {1, withOpacity(colours[1], 1)}});
    tracePath(cr.get(), flame);
    cairo_set_source(cr.get(), paint.get());
    cairo_fill(cr.get());
    tracePath(cr.get(), flameShape(c.flameCore));
    setColour(cr.get(), {1.0, 0.97, 0.85, 1});
    cairo_fill(cr.get());
}

void drawSmoke(GtkSnapshot* snapshot, const CandleLayout& c, const GaugeStyle& style) {
    auto blur = PushedEffect::blur(snapshot, 2);
    Rect bounds = Rect::centredAt(c.smoke[0].centre, c.smoke[0].diameter, c.smoke[0].diameter);
    for (const SmokePuff& puff : c.smoke)
        bounds = unite(bounds, Rect::centredAt(puff.centre, puff.diameter, puff.diameter));
    CairoPtr cr = appendCairo(snapshot, bounds.grown(1));
    for (const SmokePuff& puff : c.smoke) {
        cairo_new_sub_path(cr.get());
        cairo_arc(cr.get(), puff.centre.x, puff.centre.y, puff.diameter / 2, 0, 2 * kPi);
        setColour(cr.get(), withOpacity(style.text, puff.opacity));
        cairo_fill(cr.get());
    }
}

} // namespace

void drawCandleGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size, const GaugeStyle& style) {
    const CandleLayout c = candleLayout(in, size);
    const auto colours = liquidColors(in.state);
    {
        // The halo may reach past the frame; the node covers it.
        Rect bounds{0, 0, size.width, size.height};
        if (c.lit) bounds = unite(bounds, Rect::centredAt(c.haloCentre, 2 * c.haloRadius, 2 * c.haloRadius));
        CairoPtr cr = appendCairo(snapshot, bounds);
        drawBody(cr.get(), c, colours);
    }
    if (c.lit)
        drawFlame(snapshot, c, colours);
    else
        drawSmoke(snapshot, c, style);
}

} // namespace ostrel
