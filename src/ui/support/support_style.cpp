#include "ui/support/support_style.h"

#include "ui/common/css.h"

namespace ostrel::SupportStyle {

void apply(Gtk::Widget& widget) {
    widget.add_css_class("ostrel-support");
    installStyleOnce(widget, "support.css");
}

} // namespace ostrel::SupportStyle
