#include "ui/gauges/gauge_render.h"

#include "ui/gauges/gauge_drawing.h"

namespace ostrel {

RenderNodePtr finishSnapshot(GObjectPtr<GtkSnapshot> snapshot) {
    // gtk_snapshot_free_to_node consumes the snapshot's reference, so hand ours over.
    GtkSnapshot* raw = static_cast<GtkSnapshot*>(g_object_ref(snapshot.get()));
    snapshot.reset();
    return RenderNodePtr(gtk_snapshot_free_to_node(raw));
}

RenderNodePtr recordGauge(GaugeTheme theme, const GaugeInputs& in, Size size, const GaugeStyle& style) {
    auto snapshot = adopt(gtk_snapshot_new());
    drawGauge(snapshot.get(), theme, in, size, style);
    return finishSnapshot(std::move(snapshot));
}

OffscreenRenderer::OffscreenRenderer() : renderer_(adopt(gsk_cairo_renderer_new())) {
    GErrorOut err;
    realized_ = gsk_renderer_realize(renderer_.get(), nullptr, err.out());
    if (!realized_) error_ = err ? err.message() : "the renderer could not be realised";
}

OffscreenRenderer::~OffscreenRenderer() {
    if (realized_) gsk_renderer_unrealize(renderer_.get());
}

GObjectPtr<GdkTexture> OffscreenRenderer::render(GskRenderNode* node, Rect viewport) {
    if (!realized_ || !node) return {};
    const graphene_rect_t area = toGraphene(viewport);
    return adopt(gsk_renderer_render_texture(renderer_.get(), node, &area));
}

} // namespace ostrel
