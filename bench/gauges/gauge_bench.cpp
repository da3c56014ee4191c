// CPU time per frame of each gauge at its natural size, over 600 frames of motion (ten seconds at
// 60 Hz). "record" is the snapshot the widget builds every frame; "raster" adds drawing the frame
// with the CPU renderer, the worst case when no GPU renderer is available.
#include "ui/gauges/gauge_render.h"

#include <cstdio>
#include <ctime>

using namespace ostrel;

namespace {

constexpr int kFrames = 600;

double cpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

GaugeInputs frameInputs(int frame, UsageLevel state) {
    const double t = 1000.0 + frame / 60.0;
    // Pointer arrives halfway, so both the calm and the hovered pictures are timed.
    return {0.62, state, t, frame < kFrames / 2 ? 0.0 : 1.0};
}

} // namespace

int main() {
    if (!gtk_init_check()) std::fprintf(stderr, "no display; rendering off-screen only\n");
    const GaugeStyle style{{1, 1, 1, 1}, {1, 1, 1, 0.55}, "Sans"};
    OffscreenRenderer renderer;
    if (!renderer.ready()) {
        std::fprintf(stderr, "renderer: %s\n", renderer.error().c_str());
        return 1;
    }
    std::printf("%-8s %9s %14s %14s\n", "gauge", "size", "record ms/fr", "raster ms/fr");
    for (GaugeTheme theme : allGaugeThemes) {
        const Size size = naturalSize(theme);
        // Low band where it changes the work (the heart beat, the faster flame).
        const UsageLevel state =
            theme == GaugeTheme::hearts || theme == GaugeTheme::candle ? UsageLevel::low : UsageLevel::high;

        double start = cpuSeconds();
        for (int f = 0; f < kFrames; ++f)
            recordGauge(theme, frameInputs(f, state), size, style);
        const double record = (cpuSeconds() - start) / kFrames;

        start = cpuSeconds();
        for (int f = 0; f < kFrames; ++f) {
            RenderNodePtr node = recordGauge(theme, frameInputs(f, state), size, style);
            renderer.render(node.get(), {0, 0, size.width, size.height});
        }
        const double raster = (cpuSeconds() - start) / kFrames;

        char dims[40];
        std::snprintf(dims, sizeof dims, "%gx%g", size.width, size.height);
        std::printf("%-8s %9s %14.3f %14.3f\n", std::string(displayName(theme)).c_str(), dims, record * 1e3,
                    raster * 1e3);
    }
    return 0;
}
