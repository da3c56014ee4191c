#pragma once
// A monochrome picture drawn in the widget's foreground colour: only the drawing's coverage counts,
// so it follows the theme like text does.

#include <gdkmm/pixbuf.h>
#include <gtkmm/widget.h>
#include <string>
#include <string_view>

namespace ostrel {

class TemplateImage : public Gtk::Widget {
  public:
    // `svg` is the picture's source; it is fitted into a `side` × `side` square.
    TemplateImage(std::string_view svg, int side);

  protected:
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;
    void measure_vfunc(Gtk::Orientation orientation, int for_size, int& minimum, int& natural,
                       int& minimum_baseline, int& natural_baseline) const override;

  private:
    Glib::RefPtr<Gdk::Pixbuf> rendered(int pixels);

    std::string svg_;
    int side_;
    Glib::RefPtr<Gdk::Pixbuf> cache_;
};

} // namespace ostrel
