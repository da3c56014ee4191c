#include "ui/gauges/draw_support.h"

#include <cmath>

namespace ostrel {

GdkRGBA toGdk(Rgba c) {
    return {static_cast<float>(c.r), static_cast<float>(c.g), static_cast<float>(c.b),
            static_cast<float>(c.a)};
}

namespace {

PatternPtr withStops(cairo_pattern_t* raw, std::initializer_list<GradientStop> stops) {
    PatternPtr p(raw);
    for (const GradientStop& s : stops)
        cairo_pattern_add_color_stop_rgba(p.get(), s.offset, s.colour.r, s.colour.g, s.colour.b, s.colour.a);
    return p;
}

} // namespace

graphene_rect_t toGraphene(Rect r) {
    graphene_rect_t out;
    graphene_rect_init(&out, static_cast<float>(r.x), static_cast<float>(r.y), static_cast<float>(r.width),
                       static_cast<float>(r.height));
    return out;
}

void translateSnapshot(GtkSnapshot* snapshot, double dx, double dy) {
    graphene_point_t p;
    graphene_point_init(&p, static_cast<float>(dx), static_cast<float>(dy));
    gtk_snapshot_translate(snapshot, &p);
}

PatternPtr linearGradient(Point from, Point to, std::initializer_list<GradientStop> stops) {
    return withStops(cairo_pattern_create_linear(from.x, from.y, to.x, to.y), stops);
}

PatternPtr radialGradient(Point centre, double r0, double r1, std::initializer_list<GradientStop> stops) {
    return withStops(cairo_pattern_create_radial(centre.x, centre.y, r0, centre.x, centre.y, r1), stops);
}

PatternPtr verticalGradient(Rect r, std::initializer_list<GradientStop> stops) {
    return linearGradient({r.midX(), r.minY()}, {r.midX(), r.maxY()}, stops);
}

PatternPtr horizontalGradient(Rect r, std::initializer_list<GradientStop> stops) {
    return linearGradient({r.minX(), r.midY()}, {r.maxX(), r.midY()}, stops);
}

void setColour(cairo_t* cr, Rgba c) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a);
}

void tracePath(cairo_t* cr, const Path& path) {
    Point current{};
    Point start{};
    for (const PathElement& e : path.elements()) {
        const auto& p = e.points;
        switch (e.kind) {
        case PathElement::Kind::move:
            cairo_move_to(cr, p[0].x, p[0].y);
            current = start = p[0];
            break;
        case PathElement::Kind::line:
            cairo_line_to(cr, p[0].x, p[0].y);
            current = p[0];
            break;
        case PathElement::Kind::quad: {
            // Cairo has only cubics; a quadratic is the cubic with controls two thirds of the way.
            const Point c1{current.x + 2.0 / 3 * (p[0].x - current.x),
                           current.y + 2.0 / 3 * (p[0].y - current.y)};
            const Point c2{p[1].x + 2.0 / 3 * (p[0].x - p[1].x), p[1].y + 2.0 / 3 * (p[0].y - p[1].y)};
            cairo_curve_to(cr, c1.x, c1.y, c2.x, c2.y, p[1].x, p[1].y);
            current = p[1];
            break;
        }
        case PathElement::Kind::cubic:
            cairo_curve_to(cr, p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y);
            current = p[2];
            break;
        case PathElement::Kind::close:
            cairo_close_path(cr);
            current = start;
            break;
        }
    }
}

void traceEllipse(cairo_t* cr, Rect r) {
    if (r.width <= 0 || r.height <= 0) return;
    cairo_save(cr);
    cairo_translate(cr, r.midX(), r.midY());
    cairo_scale(cr, r.width / 2, r.height / 2);
    cairo_new_sub_path(cr);
    cairo_arc(cr, 0, 0, 1, 0, 2 * kPi);
    cairo_close_path(cr);
    cairo_restore(cr);
}

void traceRoundedRect(cairo_t* cr, Rect r, double radius) {
    const double k = std::fmin(radius, std::fmin(r.width, r.height) / 2);
    cairo_new_sub_path(cr);
    cairo_arc(cr, r.maxX() - k, r.minY() + k, k, -kPi / 2, 0);
    cairo_arc(cr, r.maxX() - k, r.maxY() - k, k, 0, kPi / 2);
    cairo_arc(cr, r.minX() + k, r.maxY() - k, k, kPi / 2, kPi);
    cairo_arc(cr, r.minX() + k, r.minY() + k, k, kPi, 3 * kPi / 2);
    cairo_close_path(cr);
}

void traceCapsule(cairo_t* cr, Rect r) {
    traceRoundedRect(cr, r, std::fmin(r.width, r.height) / 2);
}

void applyAffine(cairo_t* cr, const Affine& a) {
    cairo_matrix_t m;
    cairo_matrix_init(&m, a.xx, a.yx, a.xy, a.yy, a.x0, a.y0);
    cairo_transform(cr, &m);
}

CairoPtr appendCairo(GtkSnapshot* snapshot, Rect bounds, double margin) {
    const graphene_rect_t r = toGraphene(
        {bounds.x - margin, bounds.y - margin, bounds.width + 2 * margin, bounds.height + 2 * margin});
    return CairoPtr(gtk_snapshot_append_cairo(snapshot, &r));
}

void transformSnapshot(GtkSnapshot* snapshot, const Affine& a) {
    // A general matrix would make the transform node's class unknown, which the Cairo renderer
    // cannot draw; a move, turn and scale stay two-dimensional.
    const AffineParts parts = decompose(a);
    translateSnapshot(snapshot, parts.translation.x, parts.translation.y);
    gtk_snapshot_rotate(snapshot, static_cast<float>(parts.rotationDegrees));
    gtk_snapshot_scale(snapshot, static_cast<float>(parts.scaleX), static_cast<float>(parts.scaleY));
}

void appendColour(GtkSnapshot* snapshot, Rect r, Rgba c) {
    const GdkRGBA colour = toGdk(c);
    const graphene_rect_t rect = toGraphene(r);
    gtk_snapshot_append_color(snapshot, &colour, &rect);
}

PushedEffect PushedEffect::blur(GtkSnapshot* s, double radius) {
    gtk_snapshot_push_blur(s, radius);
    return PushedEffect(s);
}

PushedEffect PushedEffect::shadow(GtkSnapshot* s, Rgba colour, double dx, double dy, double radius) {
    const GskShadow shadow{toGdk(colour), static_cast<float>(dx), static_cast<float>(dy),
                           static_cast<float>(radius)};
    gtk_snapshot_push_shadow(s, &shadow, 1);
    return PushedEffect(s);
}

} // namespace ostrel
