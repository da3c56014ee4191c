#include "ui/panel/panel_style.h"

#include "ui/common/css.h"

namespace ostrel::PanelStyle {

void install(Gtk::Widget& widget) {
    installStyleOnce(widget, "panel.css");
}

void apply(Gtk::Widget& widget) {
    install(widget);
    widget.add_css_class("ostrel-panel");
}

bool isDark(Gtk::Widget& widget) {
    const Gdk::RGBA fg = widget.get_style_context()->get_color();
    const double luminance = 0.2126 * fg.get_red() + 0.7152 * fg.get_green() + 0.0722 * fg.get_blue();
    return luminance > 0.5;
}

} // namespace ostrel::PanelStyle
