#include "ui/support/qr_picture.h"

#include <cairomm/context.h>
#include <cairomm/pattern.h>
#include <gtkmm/snapshot.h>

namespace ostrel {

QrPicture::QrPicture(const Glib::RefPtr<Gdk::Texture>& image, int side)
    : Glib::ObjectBase("OstrelQrPicture"),
      surface_(Cairo::ImageSurface::create(Cairo::Surface::Format::ARGB32, image->get_width(),
                                           image->get_height())),
      side_(side) {
    // Texture downloads use Cairo's ARGB32 layout, so the pixels can go straight into the surface.
    surface_->flush();
    image->download(surface_->get_data(), static_cast<gsize>(surface_->get_stride()));
    surface_->mark_dirty();
    set_name("qr-code");
}

void QrPicture::measure_vfunc(Gtk::Orientation, int, int& minimum, int& natural, int& minimum_baseline,
                              int& natural_baseline) const {
    minimum = natural = side_;
    minimum_baseline = natural_baseline = -1;
}

void QrPicture::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const int w = get_width();
    const int h = get_height();
    if (w <= 0 || h <= 0) return;
    auto cr = snapshot->append_cairo(Gdk::Rectangle(0, 0, w, h));
    cr->scale(static_cast<double>(w) / surface_->get_width(),
              static_cast<double>(h) / surface_->get_height());
    auto pattern = Cairo::SurfacePattern::create(surface_);
    pattern->set_filter(Cairo::SurfacePattern::Filter::NEAREST);
    cr->set_source(pattern);
    cr->paint();
}

} // namespace ostrel
