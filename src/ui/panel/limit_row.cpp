#include "ui/panel/limit_row.h"

#include "model/fmt.h"
#include "model/time_format.h"

namespace ostrel {

LimitRow::LimitRow(const UsageLimit& limit) : Gtk::Box(Gtk::Orientation::HORIZONTAL, 4) {
    set_name("limit-" + limit.id);
    set_valign(Gtk::Align::CENTER);
    add_css_class("caption");

    title_.set_text(limit.title + ":");
    title_.set_ellipsize(Pango::EllipsizeMode::END); // a long title gives way, never the figures
    append(title_);

    figure_.set_text(Fmt::percent(limit.percentLeft()) + " left");
    figure_.add_css_class("tabular");
    append(figure_);

    if (limit.resetsAt) {
        dot_.set_text("·");
        dot_.add_css_class("secondary");
        append(dot_);
        reset_.set_text("Resets " + weekdayTime(*limit.resetsAt));
        reset_.add_css_class("secondary");
        append(reset_);
    }
}

std::string LimitRow::text() const {
    std::string out;
    for (const Gtk::Label* label : {&title_, &figure_, &dot_, &reset_}) {
        if (!label->get_parent() || label->get_text().empty()) continue;
        out += (out.empty() ? "" : " ") + std::string(label->get_text());
    }
    return out;
}

} // namespace ostrel
