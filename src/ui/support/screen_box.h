#pragma once
// The root of a support screen: a vertical column whose natural width is its minimum one, so the
// panel's fixed width decides and long texts (a placeholder, a wrapped line) fit inside it instead
// of widening the panel. A plain box cannot do this: its layout manager answers size requests.
//
// Classes deriving from it must name their own GType (Glib::ObjectBase("...")) in their
// constructor, or GTK never calls the overrides below.

#include <gtkmm/box.h>
#include <gtkmm/widget.h>

namespace ostrel {

class ScreenBox : public Gtk::Widget {
  public:
    explicit ScreenBox(int spacing = 0);
    ~ScreenBox() override;
    ScreenBox(const ScreenBox&) = delete;
    ScreenBox& operator=(const ScreenBox&) = delete;

    void append(Gtk::Widget& child) { column_.append(child); }

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int for_size, int& minimum, int& natural,
                       int& minimum_baseline, int& natural_baseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

  private:
    Gtk::Box column_;
};

} // namespace ostrel
