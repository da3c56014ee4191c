#include "tray/tray_label.h"

#include "tray/tray_colours.h"
#include "ui/common/artwork.h"

#include <algorithm>
#include <cmath>
#include <gdk/gdk.h>
#include <numbers>
#include <pango/pangocairo.h>

namespace ostrel {

namespace {

constexpr double logoSize = 15;   // points
constexpr double innerGap = 4;    // between logo and text
constexpr double chipPad = 3;     // inside a chip, left and right of its content
constexpr double itemGap = 4;     // between chips: with their padding, 10 between items
constexpr double verticalPad = 1; // above and below the row, inside the chip
constexpr double chipRadius = 4;
constexpr double fontSize = 13; // points

GObjectPtr<PangoLayout> makeText(cairo_t* cr, const std::string& text) {
    GObjectPtr<PangoLayout> layout = adopt(pango_cairo_create_layout(cr));
    const FontDescriptionPtr font(pango_font_description_from_string("Sans"));
    pango_font_description_set_absolute_size(font.get(), fontSize * PANGO_SCALE);
    pango_font_description_set_weight(font.get(), PANGO_WEIGHT_MEDIUM);
    pango_layout_set_font_description(layout.get(), font.get());
    // Tabular digits keep the label from jittering as the numbers change.
    PangoAttrList* attrs = pango_attr_list_new();
    pango_attr_list_insert(attrs, pango_attr_font_features_new("tnum 1"));
    pango_layout_set_attributes(layout.get(), attrs);
    pango_attr_list_unref(attrs);
    pango_layout_set_text(layout.get(), text.c_str(), -1);
    return layout;
}

// Fills the logo's shape with `colour` at (x, y), `size` device pixels square.
void drawTintedLogo(cairo_t* cr, std::string_view name, double x, double y, int size, Rgb colour) {
    GObjectPtr<GdkPixbuf> pixbuf = artworkPixbufRaw(name, size);
    if (!pixbuf) return;
    const int w = gdk_pixbuf_get_width(pixbuf.get()), h = gdk_pixbuf_get_height(pixbuf.get());
    cairo_save(cr);
    // The picture is a mask: its alpha decides where the colour goes.
    gdk_cairo_set_source_pixbuf(cr, pixbuf.get(), x + (size - w) / 2.0, y + (size - h) / 2.0);
    const PatternPtr mask(cairo_pattern_reference(cairo_get_source(cr)));
    cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
    cairo_mask(cr, mask.get());
    cairo_restore(cr);
}

// The chip the digits sit on: a rounded rectangle in the chip's shade, so they read on any bar.
void drawChip(cairo_t* cr, double x, double y, double w, double h, double radius, bool isDark) {
    using std::numbers::pi;
    const Rgb c = chipColour(isDark);
    radius = std::min({radius, w / 2, h / 2});
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - radius, y + radius, radius, -pi / 2, 0);
    cairo_arc(cr, x + w - radius, y + h - radius, radius, 0, pi / 2);
    cairo_arc(cr, x + radius, y + h - radius, radius, pi / 2, pi);
    cairo_arc(cr, x + radius, y + radius, radius, pi, 3 * pi / 2);
    cairo_close_path(cr);
    cairo_set_source_rgb(cr, c.r, c.g, c.b);
    cairo_fill(cr);
}

struct Box {
    double x, y, w, h;
};

// `text` in bold, its ink as tall as `box` and centred in it; a wide text ("100") is narrowed a
// little before it shrinks.
void drawFitted(cairo_t* cr, std::string_view text, Box box, Rgb colour) {
    GObjectPtr<PangoLayout> layout = adopt(pango_cairo_create_layout(cr));
    const FontDescriptionPtr font(pango_font_description_from_string("Sans Bold"));
    pango_font_description_set_absolute_size(font.get(), 100 * PANGO_SCALE);
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    PangoRectangle ink, logical;
    pango_layout_get_pixel_extents(layout.get(), &ink, &logical);
    if (ink.width <= 0 || ink.height <= 0 || box.h <= 0) return;
    double sy = box.h / ink.height;
    const double sx = std::min(sy, box.w / ink.width);
    sy = std::min(sy, sx * 1.4);
    cairo_save(cr);
    cairo_translate(cr, box.x + (box.w - ink.width * sx) / 2, box.y + box.h - ink.height * sy);
    cairo_scale(cr, sx, sy);
    cairo_move_to(cr, -ink.x, -ink.y);
    pango_cairo_layout_path(cr, layout.get());
    cairo_restore(cr);
    cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
    cairo_fill(cr);
}

} // namespace

std::string_view shortName(ProviderID id) {
    switch (id) {
    case ProviderID::claude:
        return "Cl";
    case ProviderID::cursor:
        return "Cu";
    case ProviderID::codex:
        return "Cx";
    }
    return "";
}

std::string trayLabelText(const std::vector<TrayEntry>& items) {
    std::string out;
    for (const TrayEntry& item : items)
        out += (out.empty() ? "" : "  ") + std::string(shortName(item.id)) + " " + item.text;
    return out;
}

CairoSurfacePtr TrayLabel::render(double scale) const {
    if (items.empty()) return nullptr;
    // Measure in points on a scratch surface.
    CairoSurfacePtr scratch(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1));
    const CairoPtr measure(cairo_create(scratch.get()));
    double width = 0, rowHeight = logoSize;
    std::vector<std::pair<double, double>> textSizes;
    for (const TrayEntry& item : items) {
        const GObjectPtr<PangoLayout> layout = makeText(measure.get(), item.text);
        PangoRectangle ink, logical;
        pango_layout_get_pixel_extents(layout.get(), &ink, &logical);
        textSizes.emplace_back(logical.width, logical.height);
        width += chipPad + logoSize + innerGap + logical.width + chipPad;
        rowHeight = std::max(rowHeight, static_cast<double>(logical.height));
    }
    width += itemGap * static_cast<double>(items.size() - 1);
    const double height = rowHeight + 2 * verticalPad;

    const int pw = static_cast<int>(std::ceil(width * scale)),
              ph = static_cast<int>(std::ceil(height * scale));
    CairoSurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pw, ph));
    const CairoPtr owner(cairo_create(surface.get()));
    cairo_t* cr = owner.get();
    double x = 0;
    const Rgb ink = chipTextColour(isDark);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const TrayEntry& item = items[i];
        const double chipWidth = chipPad + logoSize + innerGap + textSizes[i].first + chipPad;
        drawChip(cr, x * scale, 0, chipWidth * scale, ph, chipRadius * scale, isDark);
        x += chipPad;
        const double logoY = verticalPad + (rowHeight - logoSize) / 2;
        drawTintedLogo(cr, displayName(item.id), x * scale, logoY * scale,
                       static_cast<int>(std::lround(logoSize * scale)), iconColor(item.level, isDark));
        x += logoSize + innerGap;
        cairo_save(cr);
        cairo_scale(cr, scale, scale);
        const GObjectPtr<PangoLayout> layout = makeText(cr, item.text);
        cairo_move_to(cr, x, verticalPad + (rowHeight - textSizes[i].second) / 2);
        cairo_set_source_rgb(cr, ink.r, ink.g, ink.b);
        pango_cairo_show_layout(cr, layout.get());
        cairo_restore(cr);
        x += textSizes[i].first + chipPad + itemGap;
    }
    cairo_surface_set_device_scale(surface.get(), scale, scale);
    return surface;
}

CairoSurfacePtr renderServiceBadge(ProviderID id, double percentLeft, UsageLevel level, bool isDark,
                                   int pixels) {
    CairoSurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixels, pixels));
    const CairoPtr owner(cairo_create(surface.get()));
    cairo_t* cr = owner.get();
    const double size = pixels, pad = std::max(1.0, size / 22);
    drawChip(cr, 0, 0, size, size, size / 5, isDark);
    // The digits take the lower 58 % of the square at full width. Above them the service's short
    // name: at a bar's 16 to 24 pixels a logo there would be a smudge, two letters still read.
    const double digitsH = size * 0.58, nameH = std::floor(size - digitsH - 3 * pad);
    drawFitted(cr, shortName(id), {pad, pad, size - 2 * pad, nameH}, chipTextColour(isDark));
    const long shown = std::lround(std::clamp(percentLeft, 0.0, 100.0));
    drawFitted(cr, std::to_string(shown), {pad, size - pad - digitsH, size - 2 * pad, digitsH},
               iconColor(level, isDark));
    return surface;
}

CairoSurfacePtr renderPlainIcon(int pixels, bool isDark) {
    CairoSurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixels, pixels));
    const CairoPtr cr(cairo_create(surface.get()));
    drawChip(cr.get(), 0, 0, pixels, pixels, pixels / 5.0, isDark);
    const int inset = std::max(1, pixels / 8);
    drawTintedLogo(cr.get(), "MenuBarIcon", inset, inset, pixels - 2 * inset, chipTextColour(isDark));
    return surface;
}

} // namespace ostrel
