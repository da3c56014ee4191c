#include "ui/panel/panel_style.h"

#include "ui/common/css.h"

namespace ostrel::PanelStyle {

namespace {

// Sizes are pixels, which is what the panel's points are at scale 1. Colours come from the GTK
// theme (foreground at reduced opacity for secondary and tertiary text), so light and dark themes
// both read well.
constexpr const char* css = R"css(
/* The theme's selection colour, lifted towards the text colour so it stays readable as text and
   thin lines on dark backgrounds as well as light ones. */
@define-color ostrel_accent mix(@theme_selected_bg_color, @theme_fg_color, 0.25);

.ostrel-panel { font-size: 13px; }
.ostrel-panel .callout { font-size: 12px; }
.ostrel-panel .caption { font-size: 10px; }
.ostrel-panel .caption2 { font-size: 10px; }
.ostrel-panel .headline { font-size: 13px; font-weight: 700; }
.ostrel-panel .semibold { font-weight: 600; }
.ostrel-panel .app-name { font-size: 13px; font-weight: 600; }
.ostrel-panel .secondary { color: alpha(@theme_fg_color, 0.55); }
.ostrel-panel .tertiary { color: alpha(@theme_fg_color, 0.3); }
.ostrel-panel .tabular { font-feature-settings: "tnum"; }
.ostrel-panel .big-figure { font-size: 22px; font-weight: 600; }
.ostrel-panel .figure-detail { font-size: 13px; }
.ostrel-panel .note { font-size: 13px; font-weight: 500; color: @error_color; }
.ostrel-panel .warning-mark { color: rgb(230, 175, 0); }
.ostrel-panel .accent { color: @ostrel_accent; }

.ostrel-panel button.plain {
  background: none;
  border: none;
  box-shadow: none;
  outline-offset: -2px;
  min-height: 0;
  min-width: 0;
  padding: 0;
}
.ostrel-panel button.plain:hover { background-color: alpha(@theme_fg_color, 0.05); }
.ostrel-panel button.plain:active { background-color: alpha(@theme_fg_color, 0.1); }
.ostrel-panel button.plain.tab:hover,
.ostrel-panel button.plain.tab:active { background: none; }
.ostrel-panel button.link-style {
  background: none;
  border: none;
  box-shadow: none;
  min-height: 0;
  padding: 0 2px;
  color: @ostrel_accent;
}
.ostrel-panel button.link-style:hover label { text-decoration: underline; }
.ostrel-panel button.header-back { border-radius: 6px; padding: 2px 4px 2px 0; }
.ostrel-panel button.header-gear { border-radius: 6px; }
.ostrel-panel button.row-button { border-radius: 6px; padding: 3px 2px; }
.ostrel-panel button.small { min-height: 22px; padding: 1px 10px; font-size: 12px; }
.ostrel-panel button.large { min-height: 28px; padding: 4px 16px; }

.ostrel-panel switch {
  min-width: 32px;
  min-height: 16px;
  padding: 1px;
}
.ostrel-panel switch > slider { min-width: 16px; min-height: 16px; margin: 0; }
.ostrel-panel scale.small { padding: 6px 0; }

.ostrel-panel .stale-banner {
  background-color: rgba(255, 204, 0, 0.12);
  border-radius: 8px;
  padding: 6px 10px;
}

.ostrel-panel button.theme-tile {
  background-color: alpha(@theme_fg_color, 0.04);
  background-image: none;
  border: 2px solid transparent;
  border-radius: 10px;
  box-shadow: none;
  padding: 0;
}
.ostrel-panel button.theme-tile:hover { background-color: alpha(@theme_fg_color, 0.06); }
.ostrel-panel button.theme-tile.selected {
  background-color: alpha(@theme_fg_color, 0.08);
  border-color: @ostrel_accent;
}
.ostrel-panel .picker-fade {
  background-image: linear-gradient(to bottom, alpha(@theme_bg_color, 0) 82%, @theme_bg_color);
}
.ostrel-panel .picker-scroller { background: none; }

.ostrel-card {
  background-color: alpha(@theme_bg_color, 0.9);
  border-radius: 14px;
  border: 1px solid alpha(@theme_fg_color, 0.1);
}
.ostrel-card.opaque { background-color: @theme_bg_color; border-radius: 0; border: none; }
window.ostrel-panel-window { background: none; }
window.ostrel-panel-window.opaque { background-color: @theme_bg_color; }
)css";

constexpr const char* installedKey = "ostrel-panel-style";

} // namespace

void install(Gtk::Widget& widget) {
    installStyleOnce(widget, installedKey, css);
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
