#pragma once
// Owning handles for the Cairo and Pango objects that are not GObjects (a PangoLayout is one:
// hold it in a GObjectPtr).

#include <cairo.h>
#include <memory>
#include <pango/pango.h>

namespace ostrel {

struct CairoDeleter {
    void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
using CairoPtr = std::unique_ptr<cairo_t, CairoDeleter>;

struct CairoSurfaceDeleter {
    void operator()(cairo_surface_t* s) const { cairo_surface_destroy(s); }
};
using CairoSurfacePtr = std::unique_ptr<cairo_surface_t, CairoSurfaceDeleter>;

struct PatternDeleter {
    void operator()(cairo_pattern_t* p) const { cairo_pattern_destroy(p); }
};
using PatternPtr = std::unique_ptr<cairo_pattern_t, PatternDeleter>;

struct FontDescriptionDeleter {
    void operator()(PangoFontDescription* d) const { pango_font_description_free(d); }
};
using FontDescriptionPtr = std::unique_ptr<PangoFontDescription, FontDescriptionDeleter>;

} // namespace ostrel
