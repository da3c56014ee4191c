#pragma once
// Pictures drawn as template images: only the drawing's coverage counts and it is filled with the
// widget's foreground colour, so logos follow the text colour of a light or dark theme.

#include <gdkmm/pixbuf.h>
#include <gtkmm/widget.h>
#include <string>

namespace ostrel {

class ArtworkImage : public Gtk::Widget {
  public:
    // One of the bundled pictures by name, fitted into a `size` × `size` square.
    ArtworkImage(std::string name, int size);

    const std::string& artworkName() const { return name_; }
    int size() const { return size_; }

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    std::string name_;
    int size_;
    Glib::RefPtr<Gdk::Pixbuf> cache_; // rasterised at the device's pixel size
};

} // namespace ostrel
