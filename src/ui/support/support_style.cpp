#include "ui/support/support_style.h"

#include "ui/common/css.h"

namespace ostrel::SupportStyle {

namespace {

// Sizes are in pixels, which is what the panel's points are. "callout" and "caption" are the
// small text sizes the screens use; fills are the foreground colour at low opacity so the screens
// follow a light or dark theme.
constexpr const char* css = R"css(
.ostrel-support .callout { font-size: 12px; }
.ostrel-support .caption { font-size: 10px; }
.ostrel-support .failure { color: @error_color; }
.ostrel-support .done-mark { background-color: @success_color; border-radius: 16px; color: white; }
.ostrel-support .done-title { font-size: 15px; font-weight: 600; }
.ostrel-support .pay-line { font-size: 16px; font-weight: 600; }
.ostrel-support .field {
  background-color: alpha(@theme_fg_color, 0.06);
  border-radius: 8px;
  padding: 8px 10px;
}
.ostrel-support .editor-box {
  background-color: alpha(@theme_fg_color, 0.06);
  border-radius: 8px;
  padding: 6px;
}
.ostrel-support .editor-box textview,
.ostrel-support .editor-box textview text,
.ostrel-support .editor-box scrolledwindow { background: none; }
.ostrel-support entry.bare {
  background: none;
  border: none;
  box-shadow: none;
  outline: none;
  min-height: 0;
  padding: 0;
}
.ostrel-support button.large { min-height: 28px; padding: 4px 16px; }
.ostrel-support button.preset {
  background: alpha(@theme_fg_color, 0.06);
  border: none;
  box-shadow: none;
  border-radius: 8px;
  min-height: 0;
  padding: 6px 0;
}
.ostrel-support button.preset.selected { background: alpha(@theme_fg_color, 0.12); font-weight: 600; }
.ostrel-support .coffee-tile { background-color: alpha(@theme_fg_color, 0.08); border-radius: 16px; }
.ostrel-support .qr-tile { background-color: white; border-radius: 10px; padding: 10px; }
.ostrel-support button.plain {
  background: none;
  border: none;
  box-shadow: none;
  min-height: 0;
  padding: 2px 4px;
}
)css";

constexpr const char* installedKey = "ostrel-support-style";

} // namespace

void apply(Gtk::Widget& widget) {
    widget.add_css_class("ostrel-support");
    installStyleOnce(widget, installedKey, css);
}

} // namespace ostrel::SupportStyle
