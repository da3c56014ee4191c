// The dial: scale, value arc, pulsing tip glow, ticks, trembling needle, hub and end labels.
#include "base/gobject_ptr.h"
#include "ui/gauges/gauge_drawing.h"
#include "ui/gauges/meter_layout.h"

#include <pango/pangocairo.h>

namespace ostrel {

namespace {

void strokeArc(cairo_t* cr, const MeterLayout& m, double sweep) {
    const Point c = m.dial.centre();
    cairo_new_path(cr);
    cairo_arc(cr, c.x, c.y, m.radius, radians(kMeterStartAngle), radians(kMeterStartAngle + sweep));
    cairo_set_line_width(cr, m.ring);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_stroke(cr);
}

void showCentredLabel(cairo_t* cr, const char* text, Point centre, const PangoFontDescription* font) {
    const GObjectPtr<PangoLayout> layout = adopt(pango_cairo_create_layout(cr));
    pango_layout_set_font_description(layout.get(), font);
    pango_layout_set_text(layout.get(), text, -1);
    PangoRectangle ink;
    PangoRectangle logical;
    pango_layout_get_extents(layout.get(), &ink, &logical);
    cairo_move_to(cr, centre.x - logical.width / 2.0 / PANGO_SCALE,
                  centre.y - logical.height / 2.0 / PANGO_SCALE);
    pango_cairo_show_layout(cr, layout.get());
}

} // namespace

void drawMeterGauge(GtkSnapshot* snapshot, const GaugeInputs& in, Size size, const GaugeStyle& style) {
    const MeterLayout m = meterLayout(in, size);
    const Rect& dial = m.dial;
    const Point c = dial.centre();
    const auto colours = liquidColors(in.state);
    {
        CairoPtr cr = appendCairo(snapshot, dial);
        setColour(cr.get(), withOpacity(style.text, 0.12));
        strokeArc(cr.get(), m, kMeterSweep);
        // An empty trim draws nothing, not even the round caps.
        if (in.level > 0) {
            PatternPtr paint =
                linearGradient({dial.minX(), dial.maxY()}, {dial.maxX(), dial.minY()},
                               {{0, withOpacity(colours[1], 1)}, {1, withOpacity(colours[0], 1)}});
            cairo_set_source(cr.get(), paint.get());
            strokeArc(cr.get(), m, kMeterSweep * in.level);
        }
    }
    if (m.tipGlow) {
        auto blur = PushedEffect::blur(snapshot, m.tipBlur);
        CairoPtr cr = appendCairo(snapshot, Rect::centredAt(m.tipCentre, m.tipDiameter, m.tipDiameter));
        cairo_arc(cr.get(), m.tipCentre.x, m.tipCentre.y, m.tipDiameter / 2, 0, 2 * kPi);
        setColour(cr.get(), withOpacity(colours[0], m.tipOpacity));
        cairo_fill(cr.get());
    }
    {
        CairoPtr cr = appendCairo(snapshot, dial);
        for (const MeterTick& tick : m.ticks) {
            cairo_move_to(cr.get(), tick.line.from.x, tick.line.from.y);
            cairo_line_to(cr.get(), tick.line.to.x, tick.line.to.y);
            setColour(cr.get(), withOpacity(style.text, tick.opacity));
            cairo_set_line_width(cr.get(), tick.width);
            cairo_stroke(cr.get());
        }
    }
    {
        auto shadow = PushedEffect::shadow(snapshot, black(0.3), 0, 1, 2);
        // Tight bounds around the turned needle: the shadow's blur costs by area.
        const Affine turn = Affine::rotationAbout(c, m.needleAngle);
        const Path needle = needleShape(dial);
        CairoPtr cr = appendCairo(snapshot, needle.hullBounds(turn).grown(1));
        applyAffine(cr.get(), turn);
        PatternPtr paint = linearGradient({c.x - 0.05 * m.diameter, c.y}, {c.x + 0.34 * m.diameter, c.y},
                                          {{0, Rgba{1.0, 0.94, 0.78, 1}}, {1, withOpacity(colours[0], 1)}});
        tracePath(cr.get(), needle);
        cairo_set_source(cr.get(), paint.get());
        cairo_fill(cr.get());
    }
    CairoPtr cr = appendCairo(snapshot, dial);
    cairo_arc(cr.get(), c.x, c.y, m.hubDiameter / 2, 0, 2 * kPi);
    setColour(cr.get(), grey(0.82));
    cairo_fill(cr.get());

    FontDescriptionPtr font(pango_font_description_new());
    pango_font_description_set_family(font.get(), style.fontFamily.c_str());
    pango_font_description_set_absolute_size(font.get(), m.labelSize * PANGO_SCALE);
    setColour(cr.get(), style.secondaryText);
    showCentredLabel(cr.get(), "0", m.zeroLabel, font.get());
    showCentredLabel(cr.get(), "100", m.hundredLabel, font.get());
}

} // namespace ostrel
