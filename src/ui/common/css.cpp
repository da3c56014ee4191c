#include "ui/common/css.h"

#include <gtkmm/cssprovider.h>
#include <gtkmm/stylecontext.h>

namespace ostrel {

void installStyleOnce(Gtk::Widget& widget, const char* key, const char* css) {
    const auto display = widget.get_display();
    if (display->get_data(key)) return;
    auto provider = Gtk::CssProvider::create();
    provider->load_from_data(css);
    Gtk::StyleContext::add_provider_for_display(display, provider, GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    display->set_data(key, provider->gobj_copy(), [](void* p) { g_object_unref(p); });
}

} // namespace ostrel
