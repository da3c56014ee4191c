#include "ui/panel/symbol.h"

#include <cairomm/context.h>
#include <cmath>
#include <gtkmm/snapshot.h>
#include <gtkmm/stylecontext.h>
#include <numbers>

namespace ostrel {

namespace {

using Cr = Cairo::RefPtr<Cairo::Context>;

void chevron(const Cr& cr, double s, double weight, bool left) {
    // A narrow chevron like a glyph: about half as wide as tall.
    const double w = s * 0.28;
    const double h = s * 0.36;
    const double cx = s / 2;
    const double cy = s / 2;
    const double dir = left ? 1 : -1;
    cr->move_to(cx + dir * w / 2, cy - h);
    cr->line_to(cx - dir * w / 2, cy);
    cr->line_to(cx + dir * w / 2, cy + h);
    cr->set_line_width(s * 0.12 * weight);
    cr->set_line_cap(Cairo::Context::LineCap::ROUND);
    cr->set_line_join(Cairo::Context::LineJoin::ROUND);
    cr->stroke();
}

void gear(const Cr& cr, double s) {
    const double c = s / 2;
    const double outer = s * 0.47;
    const double body = s * 0.36;
    const int teeth = 8;
    // Teeth are short rounded bars around a ring; the hub is cut out.
    cr->save();
    cr->translate(c, c);
    for (int i = 0; i < teeth; ++i) {
        cr->save();
        cr->rotate(2 * std::numbers::pi * i / teeth);
        const double tw = s * 0.15;
        cr->rectangle(-tw / 2, -outer, tw, outer - body + s * 0.05);
        cr->fill();
        cr->restore();
    }
    cr->arc(0, 0, body, 0, 2 * std::numbers::pi);
    cr->fill();
    cr->set_operator(Cairo::Context::Operator::CLEAR);
    cr->arc(0, 0, s * 0.14, 0, 2 * std::numbers::pi);
    cr->fill();
    cr->restore();
}

void warning(const Cr& cr, double s) {
    const double top = s * 0.1;
    const double bottom = s * 0.9;
    const double r = s * 0.08; // rounded corners
    cr->move_to(s / 2, top);
    cr->line_to(s * 0.95, bottom);
    cr->line_to(s * 0.05, bottom);
    cr->close_path();
    cr->set_line_join(Cairo::Context::LineJoin::ROUND);
    cr->set_line_width(2 * r);
    cr->stroke_preserve();
    cr->fill();
    // The exclamation mark is cut out, so the background shows through.
    cr->set_operator(Cairo::Context::Operator::CLEAR);
    const double bar = s * 0.11;
    cr->set_line_width(bar);
    cr->set_line_cap(Cairo::Context::LineCap::ROUND);
    cr->move_to(s / 2, s * 0.4);
    cr->line_to(s / 2, s * 0.62);
    cr->stroke();
    cr->arc(s / 2, s * 0.76, bar * 0.6, 0, 2 * std::numbers::pi);
    cr->fill();
}

void checkCircle(const Cr& cr, double s) {
    cr->arc(s / 2, s / 2, s * 0.46, 0, 2 * std::numbers::pi);
    cr->fill();
    cr->set_operator(Cairo::Context::Operator::CLEAR);
    cr->set_line_width(s * 0.11);
    cr->set_line_cap(Cairo::Context::LineCap::ROUND);
    cr->set_line_join(Cairo::Context::LineJoin::ROUND);
    cr->move_to(s * 0.3, s * 0.52);
    cr->line_to(s * 0.44, s * 0.66);
    cr->line_to(s * 0.7, s * 0.36);
    cr->stroke();
}

} // namespace

Symbol::Symbol(Kind kind, int size, double weight)
    : Glib::ObjectBase("OstrelSymbol"), kind_(kind), size_(size), weight_(weight) {
    set_can_target(false); // the button around it takes the clicks
}

Gtk::SizeRequestMode Symbol::get_request_mode_vfunc() const {
    return Gtk::SizeRequestMode::CONSTANT_SIZE;
}

void Symbol::measure_vfunc(Gtk::Orientation, int, int& minimum, int& natural, int& minimumBaseline,
                           int& naturalBaseline) const {
    minimum = natural = size_;
    minimumBaseline = naturalBaseline = -1;
}

void Symbol::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const double s = size_;
    const double x = std::round((get_width() - s) / 2);
    const double y = std::round((get_height() - s) / 2);
    auto cr = snapshot->append_cairo(Gdk::Rectangle(0, 0, get_width(), get_height()));
    cr->translate(x, y);
    const Gdk::RGBA fg = get_style_context()->get_color();
    cr->set_source_rgba(fg.get_red(), fg.get_green(), fg.get_blue(), fg.get_alpha());
    switch (kind_) {
    case Kind::chevronLeft:
        chevron(cr, s, weight_, true);
        break;
    case Kind::chevronRight:
        chevron(cr, s, weight_, false);
        break;
    case Kind::gear:
        gear(cr, s);
        break;
    case Kind::warning:
        warning(cr, s);
        break;
    case Kind::checkCircle:
        checkCircle(cr, s);
        break;
    }
}

} // namespace ostrel
