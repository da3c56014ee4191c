#include "ui/support/template_image.h"

#include <cairomm/context.h>
#include <gdk/gdk.h>
#include <giomm/memoryinputstream.h>
#include <gtkmm/snapshot.h>
#include <gtkmm/stylecontext.h>

namespace ostrel {

TemplateImage::TemplateImage(std::string_view svg, int side)
    : Glib::ObjectBase("OstrelTemplateImage"), svg_(svg), side_(side) {}

void TemplateImage::measure_vfunc(Gtk::Orientation, int, int& minimum, int& natural, int& minimum_baseline,
                                  int& natural_baseline) const {
    minimum = natural = side_;
    minimum_baseline = natural_baseline = -1;
}

// The picture rasterised at the device's pixel size, kept until the scale changes.
Glib::RefPtr<Gdk::Pixbuf> TemplateImage::rendered(int pixels) {
    if (cache_ && cache_->get_width() == pixels) return cache_;
    cache_.reset();
    try {
        auto stream = Gio::MemoryInputStream::create();
        stream->add_data(svg_.data(), static_cast<gssize>(svg_.size()), nullptr);
        cache_ = Gdk::Pixbuf::create_from_stream_at_scale(stream, pixels, pixels, true);
    } catch (const Glib::Error& e) {
        g_warning("cannot draw picture: %s", e.what());
    }
    return cache_;
}

void TemplateImage::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const int scale = get_scale_factor();
    auto picture = rendered(side_ * scale);
    if (!picture) return;
    const double x = (get_width() - side_) / 2.0;
    const double y = (get_height() - side_) / 2.0;
    auto cr = snapshot->append_cairo(Gdk::Rectangle(0, 0, get_width(), get_height()));
    cr->translate(x, y);
    cr->scale(1.0 / scale, 1.0 / scale);
    // Use the picture as a mask: its alpha decides where the foreground colour goes.
    gdk_cairo_set_source_pixbuf(cr->cobj(), picture->gobj(), 0, 0);
    auto mask = cr->get_source();
    const Gdk::RGBA fg = get_style_context()->get_color();
    cr->set_source_rgba(fg.get_red(), fg.get_green(), fg.get_blue(), fg.get_alpha());
    cr->mask(mask);
}

} // namespace ostrel
