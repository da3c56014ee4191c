#include "support/screenshot.h"

#include "base/gobject_ptr.h"

#include <glib/gstdio.h>

namespace ostrel::test {

std::string saveScreenshot(GtkWidget* widget, const std::string& name) {
    GtkNative* native = gtk_widget_get_native(widget);
    if (!native) return {};
    GskRenderer* renderer = gtk_native_get_renderer(native);
    if (!renderer) return {};
    GObjectPtr<GdkPaintable> paintable = adopt(gtk_widget_paintable_new(widget));
    const int w = gtk_widget_get_width(widget), h = gtk_widget_get_height(widget);
    if (w <= 0 || h <= 0) return {};
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable.get(), snapshot, w, h);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    if (!node) return {};
    graphene_rect_t bounds = GRAPHENE_RECT_INIT(0, 0, static_cast<float>(w), static_cast<float>(h));
    GObjectPtr<GdkTexture> texture = adopt(gsk_renderer_render_texture(renderer, node, &bounds));
    gsk_render_node_unref(node);
    const std::string dir = std::string(OSTREL_BUILD_DIR) + "/screenshots";
    const std::string path = dir + "/" + name + ".png";
    GCharPtr parent(g_path_get_dirname(path.c_str()));
    g_mkdir_with_parents(parent.get(), 0755);
    return texture && gdk_texture_save_to_png(texture.get(), path.c_str()) ? path : std::string();
}

} // namespace ostrel::test
