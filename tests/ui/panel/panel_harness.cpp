#include "panel_harness.h"

#include "support/loop.h"
#include "ui/panel/panel_view.h"

#include <algorithm>
#include <gtk/gtk.h>
#include <gtkmm/settings.h>

namespace ostrel::test {

using namespace std::chrono_literals;

void setAnimations(bool on) {
    Gtk::Settings::get_default()->property_gtk_enable_animations() = on;
}

Gtk::Widget* findNamed(Gtk::Widget& root, std::string_view name) {
    if (root.get_name() == Glib::ustring(name.data(), name.size())) return &root;
    for (auto* child = root.get_first_child(); child; child = child->get_next_sibling())
        if (auto* found = findNamed(*child, name)) return found;
    return nullptr;
}

bool shown(Gtk::Widget& widget) {
    for (Gtk::Widget* w = &widget; w; w = w->get_parent())
        if (!w->get_visible() || !w->get_child_visible()) return false;
    return true;
}

std::vector<std::string> shownTexts(Gtk::Widget& root) {
    std::vector<std::string> out;
    for (auto* label : all<Gtk::Label>(root))
        if (shown(*label) && !label->get_text().empty()) out.push_back(label->get_text());
    return out;
}

bool showsText(Gtk::Widget& root, std::string_view text) {
    const auto texts = shownTexts(root);
    return std::ranges::find(texts, text) != texts.end();
}

void press(Gtk::Button& button) {
    // A pointer click reaches the button only when it and all its parents are sensitive and shown.
    if (button.is_sensitive() && shown(button)) g_signal_emit_by_name(button.gobj(), "clicked");
    drain();
}

namespace {

bool dispatch(GtkWidget* widget, GtkShortcutTrigger* wanted) {
    if (!gtk_widget_get_mapped(widget) || !gtk_widget_is_sensitive(widget)) return false;
    GObjectPtr<GListModel> controllers = adopt(gtk_widget_observe_controllers(widget));
    for (guint i = 0; i < g_list_model_get_n_items(controllers.get()); ++i) {
        GObjectPtr<GObject> item = adopt(G_OBJECT(g_list_model_get_item(controllers.get(), i)));
        if (!GTK_IS_SHORTCUT_CONTROLLER(item.get())) continue;
        auto* controller = GTK_SHORTCUT_CONTROLLER(item.get());
        if (gtk_shortcut_controller_get_scope(controller) == GTK_SHORTCUT_SCOPE_LOCAL) continue;
        auto* shortcuts = G_LIST_MODEL(controller);
        for (guint j = 0; j < g_list_model_get_n_items(shortcuts); ++j) {
            GObjectPtr<GtkShortcut> shortcut = adopt(GTK_SHORTCUT(g_list_model_get_item(shortcuts, j)));
            if (!gtk_shortcut_trigger_equal(gtk_shortcut_get_trigger(shortcut.get()), wanted)) continue;
            if (gtk_shortcut_action_activate(gtk_shortcut_get_action(shortcut.get()),
                                             GTK_SHORTCUT_ACTION_EXCLUSIVE, widget, nullptr))
                return true;
        }
    }
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
         child = gtk_widget_get_next_sibling(child))
        if (dispatch(child, wanted)) return true;
    return false;
}

} // namespace

bool pressKeys(Gtk::Widget& root, const char* trigger) {
    GObjectPtr<GtkShortcutTrigger> wanted = adopt(gtk_shortcut_trigger_parse_string(trigger));
    if (!wanted) throw std::runtime_error(std::string("not a shortcut: ") + trigger);
    const bool handled = dispatch(GTK_WIDGET(root.gobj()), wanted.get());
    drain();
    return handled;
}

Host::Host(Gtk::Widget& content) {
    content.set_size_request(PanelView::width - 2 * PanelView::padding, -1);
    window_.set_child(content);
    window_.present();
    settle();
}

Host::~Host() {
    window_.unset_child();
    window_.destroy();
    drain();
}

void settle() {
    pump(150ms);
}

} // namespace ostrel::test
