// Draws gauges off-screen and probes the pixels where a drawing fault would show. Pictures of every
// theme for reviewers come from scripts/screenshots.sh.
#include "base/usage.h"
#include "support/display.h"
#include "ui/gauges/candle_layout.h"
#include "ui/gauges/gauge_drawing.h"
#include "ui/gauges/gauge_render.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

using namespace ostrel;

namespace {

constexpr Rgba kBlack{0, 0, 0, 1};
const GaugeStyle kStyle{{1, 1, 1, 1}, {1, 1, 1, 0.55}, "Sans"};

// One gauge in its natural frame on black.
GObjectPtr<GdkTexture> render(OffscreenRenderer& renderer, GaugeTheme theme, const GaugeInputs& inputs) {
    const Size size = naturalSize(theme);
    auto snapshot = adopt(gtk_snapshot_new());
    appendColour(snapshot.get(), {0, 0, size.width, size.height}, kBlack);
    drawGauge(snapshot.get(), theme, inputs, size, kStyle);
    RenderNodePtr node = finishSnapshot(std::move(snapshot));
    return renderer.render(node.get(), {0, 0, std::ceil(size.width), std::ceil(size.height)});
}

// Pixels of a texture as straight (not premultiplied) 0…1 colours.
class Pixels {
  public:
    explicit Pixels(GdkTexture* texture)
        : width_(gdk_texture_get_width(texture)), height_(gdk_texture_get_height(texture)),
          data_(static_cast<std::size_t>(width_ * height_ * 4)) {
        gdk_texture_download(texture, data_.data(), static_cast<gsize>(width_) * 4);
    }
    // Cairo's ARGB32 in native byte order: B, G, R, A on this little-endian machine.
    Rgba at(double x, double y) const {
        const std::size_t i =
            (static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x)) *
            4;
        const double a = data_[i + 3] / 255.0;
        if (a == 0) return {0, 0, 0, 0};
        return {data_[i + 2] / 255.0 / a, data_[i + 1] / 255.0 / a, data_[i] / 255.0 / a, a};
    }

  private:
    int width_;
    int height_;
    std::vector<unsigned char> data_;
};

class GaugePixels : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(test::startGtk()) << "no display"; }
    void SetUp() override { ASSERT_TRUE(renderer.ready()) << renderer.error(); }
    OffscreenRenderer renderer;
};

} // namespace

TEST_F(GaugePixels, GlassLiquidStopsAtItsLevel) {
    for (double level : {0.25, 0.75}) {
        auto texture = render(renderer, GaugeTheme::glass, {level, UsageLevel::veryHigh, 0, 0});
        const Pixels pixels(texture.get());
        // Liquid is green a little below the surface (y = 170 (1 − level)), glass is near black above.
        const Rgba below = pixels.at(60, 170 * (1 - level) + 12);
        const Rgba above = pixels.at(60, 170 * (1 - level) - 12);
        EXPECT_GT(below.g, 0.4) << level;
        EXPECT_GT(below.g, below.r + 0.15) << level;
        EXPECT_LT(above.g, 0.12) << level;
    }
}

TEST_F(GaugePixels, CandleFlameBurnsOnlyAboveTheThreshold) {
    const Size size = naturalSize(GaugeTheme::candle);
    auto brightnessAtFlame = [&](double level) {
        const CandleLayout c = candleLayout({level, UsageLevel::low, 0, 0}, size);
        auto texture = render(renderer, GaugeTheme::candle, {level, UsageLevel::low, 0, 0});
        if (!texture) return -1.0;
        const Rgba p = Pixels(texture.get()).at(size.width / 2, c.wickTop - 0.3 * c.flameHeight);
        return (p.r + p.g + p.b) / 3;
    };
    EXPECT_GT(brightnessAtFlame(0.006), 0.6);
    EXPECT_LT(brightnessAtFlame(0.004), 0.3);
}
