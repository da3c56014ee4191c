#pragma once
// Small bridges from the gauge geometry to GtkSnapshot and Cairo: owning handles for the C objects,
// path tracing, gradients, and scoped push/pop and save/restore so no node is left open.

#include "ui/common/cairo_ptr.h"
#include "ui/gauges/gauge_geometry.h"
#include "ui/gauges/gauge_theme.h"

#include <cairo.h>
#include <gtk/gtk.h>
#include <initializer_list>
#include <memory>
#include <string>

namespace ostrel {

struct Rgba {
    double r = 0, g = 0, b = 0, a = 1;
    bool operator==(const Rgba&) const = default;
};

inline Rgba withOpacity(Rgb c, double a) {
    return {c.r, c.g, c.b, a};
}
inline Rgba withOpacity(Rgba c, double a) {
    return {c.r, c.g, c.b, c.a * a};
}
inline Rgba white(double a) {
    return {1, 1, 1, a};
}
inline Rgba black(double a) {
    return {0, 0, 0, a};
}
inline Rgba grey(double level) {
    return {level, level, level, 1};
}
GdkRGBA toGdk(Rgba c);

// What a gauge takes from its surroundings: the text colours and face of the desktop theme.
struct GaugeStyle {
    Rgba text{0, 0, 0, 1};
    Rgba secondaryText{0, 0, 0, 0.55};
    std::string fontFamily = "Sans";
};

struct GradientStop {
    double offset;
    Rgba colour;
};
PatternPtr linearGradient(Point from, Point to, std::initializer_list<GradientStop> stops);
PatternPtr radialGradient(Point centre, double r0, double r1, std::initializer_list<GradientStop> stops);
// Top of `r` to its bottom, or leading to trailing edge.
PatternPtr verticalGradient(Rect r, std::initializer_list<GradientStop> stops);
PatternPtr horizontalGradient(Rect r, std::initializer_list<GradientStop> stops);

void setColour(cairo_t* cr, Rgba c);
void tracePath(cairo_t* cr, const Path& path);
void traceEllipse(cairo_t* cr, Rect r);
void traceRoundedRect(cairo_t* cr, Rect r, double radius);
void traceCapsule(cairo_t* cr, Rect r);
void applyAffine(cairo_t* cr, const Affine& a);

// A Cairo node covering `bounds` grown by `margin` on every side (room for strokes and glows).
CairoPtr appendCairo(GtkSnapshot* snapshot, Rect bounds, double margin = 0);
graphene_rect_t toGraphene(Rect r);
void translateSnapshot(GtkSnapshot* snapshot, double dx, double dy);
// Only for maps without skew (moves, turns, scales), which is all the gauges use. Record no Cairo
// node under a scale set this way: GTK 4.8 misplaces Cairo nodes under a scale with an offset.
void transformSnapshot(GtkSnapshot* snapshot, const Affine& a);
void appendColour(GtkSnapshot* snapshot, Rect r, Rgba c);

// gtk_snapshot_save … gtk_snapshot_restore for the lifetime of the object.
class SnapshotState {
  public:
    explicit SnapshotState(GtkSnapshot* s) : s_(s) { gtk_snapshot_save(s_); }
    ~SnapshotState() { gtk_snapshot_restore(s_); }
    SnapshotState(const SnapshotState&) = delete;
    SnapshotState& operator=(const SnapshotState&) = delete;

  private:
    GtkSnapshot* s_;
};

// One pushed effect (blur, shadow, clip…), popped when the object goes away.
class PushedEffect {
  public:
    static PushedEffect blur(GtkSnapshot* s, double radius);
    // A shadow of `colour` offset by (dx, dy); with no offset it is a glow.
    static PushedEffect shadow(GtkSnapshot* s, Rgba colour, double dx, double dy, double radius);
    ~PushedEffect() { gtk_snapshot_pop(s_); }
    PushedEffect(const PushedEffect&) = delete;
    PushedEffect& operator=(const PushedEffect&) = delete;

  private:
    explicit PushedEffect(GtkSnapshot* s) : s_(s) {}
    GtkSnapshot* s_;
};

} // namespace ostrel
