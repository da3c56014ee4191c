#pragma once
// The few small symbols the panel draws (chevrons, the gear, the warning triangle, the check mark),
// as vector paths in the widget's CSS colour, so they need no icon theme and follow the text colour.

#include <gtkmm/widget.h>

namespace ostrel {

class Symbol : public Gtk::Widget {
  public:
    enum class Kind { chevronLeft, chevronRight, gear, warning, checkCircle };

    // `size` is the side of the square the symbol is drawn in; `weight` scales its strokes (1 is
    // regular, about 1.3 semibold).
    Symbol(Kind kind, int size, double weight = 1.0);

    Kind kind() const { return kind_; }

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    Kind kind_;
    int size_;
    double weight_;
};

} // namespace ostrel
