#include "ui/common/artwork.h"

#include "base/gobject_ptr.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gio/gio.h>

extern "C" GResource* ostrel_get_resource(void);

namespace ostrel {

std::string_view artworkSvg(std::string_view name) {
    const std::string path = "/app/ostrel/Ostrel/art/" + std::string(name) + ".svg";
    // The bundle lives for the whole run, so its bytes can be handed out as views.
    GBytes* bytes =
        g_resource_lookup_data(ostrel_get_resource(), path.c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
    if (!bytes) return {};
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    std::string_view view(data, size);
    g_bytes_unref(bytes); // the data stays: it points into the program's own image
    return view;
}

GObjectPtr<GdkPixbuf> artworkPixbufRaw(std::string_view name, int pixels) {
    const std::string_view svg = artworkSvg(name);
    if (svg.empty() || pixels <= 0) return {};
    auto stream =
        adopt(g_memory_input_stream_new_from_data(svg.data(), static_cast<gssize>(svg.size()), nullptr));
    return adopt(gdk_pixbuf_new_from_stream_at_scale(stream.get(), pixels, pixels, TRUE, nullptr, nullptr));
}

Glib::RefPtr<Gdk::Pixbuf> artworkPixbuf(std::string_view name, int pixels) {
    GObjectPtr<GdkPixbuf> raw = artworkPixbufRaw(name, pixels);
    return raw ? Glib::wrap(static_cast<GdkPixbuf*>(g_object_ref(raw.get()))) : Glib::RefPtr<Gdk::Pixbuf>();
}

} // namespace ostrel
