#pragma once
// Drawing a gauge away from any window: recording it into a render node and rasterising that with
// the CPU renderer. Screenshots and the benchmark use it; previews could too.

#include "base/gobject_ptr.h"
#include "ui/gauges/draw_support.h"
#include "ui/gauges/gauge_theme.h"

#include <gtk/gtk.h>
#include <memory>
#include <string>

namespace ostrel {

struct RenderNodeDeleter {
    void operator()(GskRenderNode* n) const { gsk_render_node_unref(n); }
};
using RenderNodePtr = std::unique_ptr<GskRenderNode, RenderNodeDeleter>;

// Ends a snapshot; null when nothing was drawn.
RenderNodePtr finishSnapshot(GObjectPtr<GtkSnapshot> snapshot);
RenderNodePtr recordGauge(GaugeTheme theme, const GaugeInputs& in, Size size, const GaugeStyle& style);

// A Cairo renderer realised without a surface, unrealised when it goes away.
class OffscreenRenderer {
  public:
    OffscreenRenderer();
    ~OffscreenRenderer();
    OffscreenRenderer(const OffscreenRenderer&) = delete;
    OffscreenRenderer& operator=(const OffscreenRenderer&) = delete;

    bool ready() const { return realized_; }
    const std::string& error() const { return error_; }
    // Rasterises `node` over `viewport`; null when the renderer is not ready.
    GObjectPtr<GdkTexture> render(GskRenderNode* node, Rect viewport);

  private:
    GObjectPtr<GskRenderer> renderer_;
    bool realized_ = false;
    std::string error_;
};

} // namespace ostrel
