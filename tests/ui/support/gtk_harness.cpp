#include "gtk_harness.h"

#include "async/gobject_ptr.h"
#include "support/loop.h"

#include <glib/gstdio.h>
#include <gtk/gtk.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/init.h>
#include <gtkmm/stylecontext.h>
#include <memory>

namespace ostrel::test {

bool startGtk() {
    if (!gtk_init_check()) return false;
    Gtk::init_gtkmm_internals();
    return true;
}

Gtk::Widget* findNamed(Gtk::Widget& root, std::string_view name) {
    if (root.get_name() == Glib::ustring(name.data(), name.size())) return &root;
    for (auto* child = root.get_first_child(); child; child = child->get_next_sibling())
        if (auto* found = findNamed(*child, name)) return found;
    return nullptr;
}

void press(Gtk::Button& button) {
    // A pointer click reaches the button only when it and all its parents are sensitive.
    if (button.is_sensitive() && button.is_drawable()) g_signal_emit_by_name(button.gobj(), "clicked");
    drain();
}

PanelHost::PanelHost(Gtk::Widget& screen) : frame_(Gtk::Orientation::VERTICAL) {
    // The panel card: the window colour and a 12-point inner margin around the screen.
    auto css = Gtk::CssProvider::create();
    css->load_from_data("box.panel-host { background-color: @theme_bg_color; padding: 12px; }");
    frame_.get_style_context()->add_provider(css, GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    frame_.add_css_class("panel-host");
    frame_.set_size_request(panelWidth, -1);
    frame_.append(screen);
    // The picture is taken of `outer_`, so that it includes the frame's padding and background.
    outer_.append(frame_);
    window_.set_child(outer_);
    window_.set_resizable(false);
    window_.set_decorated(false);
    window_.present();
    settle();
}

PanelHost::~PanelHost() {
    window_.unset_child();
    window_.destroy();
}

void PanelHost::settle() {
    pump(std::chrono::milliseconds(250));
}

std::pair<int, int> PanelHost::saveScreenshot(const std::string& path) {
    settle();
    const int w = outer_.get_width();
    const int h = outer_.get_height();
    auto paintable = adopt(gtk_widget_paintable_new(GTK_WIDGET(outer_.gobj())));
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(GDK_PAINTABLE(paintable.get()), GDK_SNAPSHOT(snapshot), w, h);
    const std::unique_ptr<GskRenderNode, decltype(&gsk_render_node_unref)> node(
        gtk_snapshot_free_to_node(snapshot), &gsk_render_node_unref);
    if (!node) throw std::runtime_error("nothing was drawn");
    GskRenderer* renderer = gtk_native_get_renderer(GTK_NATIVE(window_.gobj()));
    const graphene_rect_t viewport = GRAPHENE_RECT_INIT(0, 0, static_cast<float>(w), static_cast<float>(h));
    auto texture = adopt(gsk_renderer_render_texture(renderer, node.get(), &viewport));
    if (!texture || !gdk_texture_save_to_png(texture.get(), path.c_str()))
        throw std::runtime_error("cannot save " + path);
    return {gdk_texture_get_width(texture.get()), gdk_texture_get_height(texture.get())};
}

std::string screenshotPath(const std::string& name) {
    const std::string dir = OSTREL_BUILD_DIR "/screenshots/support";
    g_mkdir_with_parents(dir.c_str(), 0755);
    return dir + "/" + name;
}

} // namespace ostrel::test
