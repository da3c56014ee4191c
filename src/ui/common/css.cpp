#include "ui/common/css.h"

#include "base/log.h"

#include <gio/gio.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/stylecontext.h>
#include <string>

extern "C" GResource* ostrel_get_resource(void);

namespace ostrel {

namespace {

std::string bundledSheet(const std::string& name) {
    const std::string path = "/app/ostrel/Ostrel/style/" + name;
    GBytes* bytes =
        g_resource_lookup_data(ostrel_get_resource(), path.c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
    if (!bytes) return {};
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    std::string sheet(data, size);
    g_bytes_unref(bytes);
    return sheet;
}

} // namespace

void installStyleOnce(Gtk::Widget& widget, const char* name) {
    const auto display = widget.get_display();
    const std::string key = std::string("ostrel-style-") + name;
    if (display->get_data(key.c_str())) return;
    const std::string sheet = bundledSheet(name);
    if (sheet.empty()) log(std::string("Style sheet ") + name + " is missing from the bundle");
    auto provider = Gtk::CssProvider::create();
    provider->signal_parsing_error().connect(
        [sheet = std::string(name)](const Glib::RefPtr<const Gtk::CssSection>& section,
                                    const Glib::Error& error) {
            log(sheet + " line " + std::to_string(section->get_start_location().get_lines() + 1) + ": " +
                error.what());
        });
    provider->load_from_data(sheet);
    Gtk::StyleContext::add_provider_for_display(display, provider, GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    display->set_data(key.c_str(), provider->gobj_copy(), [](void* p) { g_object_unref(p); });
}

} // namespace ostrel
