// The glass and the soap bubble: both show the allowance as liquid with a moving surface.
#include "ui/gauges/gauge_drawing.h"
#include "ui/gauges/liquid_layout.h"

namespace ostrel {

namespace {

void fillBubbles(cairo_t* cr, const BubbleList& list) {
    for (const BubbleDot& b : list) {
        if (b.opacity <= 0) continue;
        setColour(cr, white(b.opacity));
        cairo_new_sub_path(cr);
        cairo_arc(cr, b.centre.x, b.centre.y, b.radius, 0, 2 * kPi);
        cairo_fill(cr);
    }
}

PatternPtr liquidGradient(Rect r, UsageLevel state) {
    const auto colours = liquidColors(state);
    return verticalGradient(r, {{0, withOpacity(colours[0], 1)}, {1, withOpacity(colours[1], 1)}});
}

void strokeStreak(GtkSnapshot* snapshot, const GlassLayout& g, bool left, double width, double topOpacity) {
    const LineSegment s = wallStreak(g.frame, left);
    auto blur = PushedEffect::blur(snapshot, g.streakBlur);
    // Tight bounds: the blur costs in proportion to the area it covers.
    CairoPtr cr =
        appendCairo(snapshot, unite({s.from.x, s.from.y, 0, 0}, {s.to.x, s.to.y, 0, 0}).grown(width));
    cairo_move_to(cr.get(), s.from.x, s.from.y);
    cairo_line_to(cr.get(), s.to.x, s.to.y);
    PatternPtr paint = verticalGradient(g.frame, {{0, white(topOpacity)}, {1, white(0)}});
    cairo_set_source(cr.get(), paint.get());
    cairo_set_line_width(cr.get(), width);
    cairo_set_line_cap(cr.get(), CAIRO_LINE_CAP_ROUND);
    cairo_stroke(cr.get());
}

} // namespace

void drawGlassGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size) {
    const GlassLayout g = glassLayout(in, size);
    const Path glass = glassShape(g.frame);
    {
        CairoPtr owner = appendCairo(snapshot, g.frame);
        cairo_t* cr = owner.get();

        PatternPtr body = horizontalGradient(
            g.frame, {{0, white(0.10)}, {0.3, white(0.03)}, {0.7, white(0.02)}, {1, white(0.08)}});
        tracePath(cr, glass);
        cairo_set_source(cr, body.get());
        cairo_fill(cr);

        cairo_save(cr);
        tracePath(cr, glass);
        cairo_clip(cr);
        const Path liquid = waveShape(g.frame, in.level, g.phase, g.amplitude);
        PatternPtr fill = liquidGradient(g.frame, in.state);
        tracePath(cr, liquid);
        cairo_set_source(cr, fill.get());
        cairo_fill_preserve(cr);
        // Darken the liquid towards both walls.
        PatternPtr shade = horizontalGradient(
            g.frame, {{0, black(0.22)}, {0.3, black(0)}, {0.65, black(0)}, {1, black(0.28)}});
        cairo_set_source(cr, shade.get());
        cairo_fill(cr);
        if (g.surfaceLine) {
            tracePath(cr, waveLine(g.frame, in.level, g.phase, g.amplitude));
            setColour(cr, white(0.45));
            cairo_set_line_width(cr, 1.2);
            cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
            cairo_set_line_join(cr, CAIRO_LINE_JOIN_MITER);
            cairo_stroke(cr);
        }
        fillBubbles(cr, bubbles(size, in.t, in.level, in.hover));
        cairo_restore(cr);

        // Only the lowest strip of the glass is tinted: its floor.
        cairo_save(cr);
        cairo_rectangle(cr, g.floorBand.x, g.floorBand.y, g.floorBand.width, g.floorBand.height);
        cairo_clip(cr);
        tracePath(cr, glass);
        setColour(cr, white(0.10));
        cairo_fill(cr);
        cairo_restore(cr);
    }
    strokeStreak(snapshot, g, true, g.leftStreakWidth, 0.45);
    strokeStreak(snapshot, g, false, g.rightStreakWidth, 0.18);

    CairoPtr rim = appendCairo(snapshot, g.frame, 1);
    tracePath(rim.get(), glass);
    PatternPtr paint = verticalGradient(g.frame, {{0, white(0.60)}, {1, white(0.25)}});
    cairo_set_source(rim.get(), paint.get());
    cairo_set_line_width(rim.get(), 1.5);
    cairo_set_line_cap(rim.get(), CAIRO_LINE_CAP_BUTT);
    cairo_stroke(rim.get());
}

void drawBubbleGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size) {
    const BubbleLayout b = bubbleLayout(in, size);
    const Rect& s = b.bubble;
    const Point c = s.centre();
    const double r = b.diameter / 2;
    const auto colours = liquidColors(in.state);

    // Glow and bubble are one flattened layer that bobs as a whole.
    SnapshotState state(snapshot);
    translateSnapshot(snapshot, 0, b.bob);
    CairoPtr owner = appendCairo(snapshot, Rect::centredAt(c, b.glowDiameter, b.glowDiameter));
    cairo_t* cr = owner.get();

    PatternPtr glow =
        radialGradient(c, b.glowInnerRadius, b.glowOuterRadius,
                       {{0, withOpacity(colours[1], b.glowOpacity)}, {1, withOpacity(colours[1], 0)}});
    cairo_arc(cr, c.x, c.y, b.glowDiameter / 2, 0, 2 * kPi);
    cairo_set_source(cr, glow.get());
    cairo_fill(cr);

    cairo_arc(cr, c.x, c.y, r, 0, 2 * kPi);
    setColour(cr, white(0.06));
    cairo_fill(cr);

    cairo_save(cr);
    cairo_arc(cr, c.x, c.y, r, 0, 2 * kPi);
    cairo_clip(cr);
    PatternPtr fill = liquidGradient(s, in.state);
    tracePath(cr, waveShape(s, in.level, b.phase, b.amplitude));
    cairo_set_source(cr, fill.get());
    cairo_fill(cr);
    cairo_translate(cr, s.x, s.y);
    fillBubbles(cr, bubbles({s.width, s.height}, in.t, in.level, in.hover));
    cairo_restore(cr);

    // Darken towards the rim, as a sphere would.
    PatternPtr shade =
        radialGradient(c, b.shadeInnerRadius, b.shadeOuterRadius, {{0, black(0)}, {1, black(0.28)}});
    cairo_arc(cr, c.x, c.y, r, 0, 2 * kPi);
    cairo_set_source(cr, shade.get());
    cairo_fill(cr);

    PatternPtr rim = verticalGradient(s, {{0, white(0.70)}, {1, white(0.15)}});
    cairo_arc(cr, c.x, c.y, r, 0, 2 * kPi);
    cairo_set_source(cr, rim.get());
    cairo_set_line_width(cr, 1.5);
    cairo_stroke(cr);

    PatternPtr glint = verticalGradient(b.highlight, {{0, white(b.highlightOpacity)}, {1, white(0)}});
    traceEllipse(cr, b.highlight);
    cairo_set_source(cr, glint.get());
    cairo_fill(cr);
}

} // namespace ostrel
