#pragma once
// Plain 2-D geometry the gauges are described in: points, rectangles, paths made of move/line/curve
// elements, and affine placements. y grows downward and positive angles turn clockwise on screen, as
// on the drawing surface, so a description here can be replayed there one to one.

#include <array>
#include <vector>

namespace ostrel {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double maxX() const { return x + width; }
    double minY() const { return y; }
    double maxY() const { return y + height; }
    double midX() const { return x + width / 2; }
    double midY() const { return y + height / 2; }
    Point centre() const { return {midX(), midY()}; }
    // The rectangle of the given size whose centre is `c`.
    static Rect centredAt(Point c, double w, double h) { return {c.x - w / 2, c.y - h / 2, w, h}; }
    Rect grown(double by) const { return {x - by, y - by, width + 2 * by, height + 2 * by}; }
    bool operator==(const Rect&) const = default;
};

// The smallest rectangle holding both.
Rect unite(Rect a, Rect b);

struct Affine;

struct LineSegment {
    Point from;
    Point to;
};

struct PathElement {
    enum class Kind { move, line, quad, cubic, close };
    Kind kind = Kind::move;
    // move/line: points[0]; quad: control points[0], end points[1]; cubic: controls [0], [1], end [2].
    std::array<Point, 3> points{};
};

class Path {
  public:
    void reserve(std::size_t n) { elements_.reserve(n); }
    void moveTo(Point p) { elements_.push_back({PathElement::Kind::move, {p}}); }
    void lineTo(Point p) { elements_.push_back({PathElement::Kind::line, {p}}); }
    void quadTo(Point control, Point end) { elements_.push_back({PathElement::Kind::quad, {control, end}}); }
    void cubicTo(Point c1, Point c2, Point end) {
        elements_.push_back({PathElement::Kind::cubic, {c1, c2, end}});
    }
    void close() { elements_.push_back({PathElement::Kind::close, {}}); }

    const std::vector<PathElement>& elements() const { return elements_; }
    bool empty() const { return elements_.empty(); }
    // The end point of every element except close, in order: the corners of a polygon path.
    std::vector<Point> endPoints() const;
    // Bounds of all points, control points included, after `a`: they contain the whole path.
    Rect hullBounds(const Affine& a) const;

  private:
    std::vector<PathElement> elements_;
};

// x' = xx·x + xy·y + x0, y' = yx·x + yy·y + y0 (the layout of a Cairo matrix).
struct Affine {
    double xx = 1, yx = 0, xy = 0, yy = 1, x0 = 0, y0 = 0;

    static Affine translation(double dx, double dy) { return {1, 0, 0, 1, dx, dy}; }
    static Affine scaling(double sx, double sy) { return {sx, 0, 0, sy, 0, 0}; }
    // Clockwise on screen for positive degrees.
    static Affine rotation(double degrees);
    // Turning or scaling about a pivot rather than the origin.
    static Affine rotationAbout(Point pivot, double degrees);
    static Affine scalingAbout(Point pivot, double sx, double sy);

    // `then` applied after this one.
    Affine then(const Affine& next) const;
    Point apply(Point p) const { return {xx * p.x + xy * p.y + x0, yx * p.x + yy * p.y + y0}; }
};

// An affine map without skew as a move, a turn and a scale: apply scale first, then turn, then move.
// Renderers keep such transforms in their fast two-dimensional class.
struct AffineParts {
    Point translation;
    double rotationDegrees = 0;
    double scaleX = 1;
    double scaleY = 1;
};
AffineParts decompose(const Affine& a);

inline constexpr double kPi = 3.14159265358979323846;
inline double radians(double degrees) {
    return degrees * kPi / 180.0;
}

} // namespace ostrel
