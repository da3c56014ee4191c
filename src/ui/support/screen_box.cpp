#include "ui/support/screen_box.h"

namespace ostrel {

ScreenBox::ScreenBox(int spacing) : column_(Gtk::Orientation::VERTICAL, spacing) {
    column_.set_parent(*this);
}

ScreenBox::~ScreenBox() {
    column_.unparent();
}

Gtk::SizeRequestMode ScreenBox::get_request_mode_vfunc() const {
    return column_.get_request_mode();
}

void ScreenBox::measure_vfunc(Gtk::Orientation orientation, int for_size, int& minimum, int& natural,
                              int& minimum_baseline, int& natural_baseline) const {
    column_.measure(orientation, for_size, minimum, natural, minimum_baseline, natural_baseline);
    if (orientation == Gtk::Orientation::HORIZONTAL) natural = minimum;
}

void ScreenBox::size_allocate_vfunc(int width, int height, int baseline) {
    column_.size_allocate(Gtk::Allocation(0, 0, width, height), baseline);
}

} // namespace ostrel
