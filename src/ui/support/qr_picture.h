#pragma once
// Shows a QR code image at any size without smoothing, so module edges stay sharp for the camera.

#include <cairomm/surface.h>
#include <gdkmm/texture.h>
#include <gtkmm/widget.h>

namespace ostrel {

class QrPicture : public Gtk::Widget {
  public:
    // Draws `image` stretched over a `side` × `side` square.
    QrPicture(const Glib::RefPtr<Gdk::Texture>& image, int side);

  protected:
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;
    void measure_vfunc(Gtk::Orientation orientation, int for_size, int& minimum, int& natural,
                       int& minimum_baseline, int& natural_baseline) const override;

  private:
    Cairo::RefPtr<Cairo::ImageSurface> surface_;
    int side_;
};

} // namespace ostrel
