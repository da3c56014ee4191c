#include "ui/common/artwork_image.h"

#include "ui/common/artwork.h"

#include <cairomm/context.h>
#include <gdk/gdk.h>
#include <gtkmm/snapshot.h>
#include <gtkmm/stylecontext.h>

namespace ostrel {

ArtworkImage::ArtworkImage(std::string name, int size)
    : Glib::ObjectBase("OstrelArtworkImage"), name_(std::move(name)), size_(size) {}

Gtk::SizeRequestMode ArtworkImage::get_request_mode_vfunc() const {
    return Gtk::SizeRequestMode::CONSTANT_SIZE;
}

void ArtworkImage::measure_vfunc(Gtk::Orientation, int, int& minimum, int& natural, int& minimumBaseline,
                                 int& naturalBaseline) const {
    minimum = natural = size_;
    minimumBaseline = naturalBaseline = -1;
}

void ArtworkImage::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const int scale = get_scale_factor();
    const int pixels = size_ * scale;
    if (!cache_ || cache_->get_width() != pixels) cache_ = artworkPixbuf(name_, pixels);
    if (!cache_) return;
    auto cr = snapshot->append_cairo(Gdk::Rectangle(0, 0, get_width(), get_height()));
    cr->translate((get_width() - size_) / 2.0, (get_height() - size_) / 2.0);
    cr->scale(1.0 / scale, 1.0 / scale);
    // The picture is a mask: its alpha decides where the foreground colour goes.
    gdk_cairo_set_source_pixbuf(cr->cobj(), cache_->gobj(), 0, 0);
    auto mask = cr->get_source();
    const Gdk::RGBA fg = get_style_context()->get_color();
    cr->set_source_rgba(fg.get_red(), fg.get_green(), fg.get_blue(), fg.get_alpha());
    cr->mask(mask);
}

} // namespace ostrel
