// Renders every gauge off-screen into PNG files under the build folder for a reviewer to look at,
// and probes a few pixels where a drawing fault would show.
#include "base/usage.h"
#include "support/display.h"
#include "ui/gauges/candle_layout.h"
#include "ui/gauges/gauge_drawing.h"
#include "ui/gauges/gauge_render.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace ostrel;

namespace {

struct Backdrop {
    const char* name;
    Rgba background;
    GaugeStyle style;
};
const Backdrop kDark{"dark", {0.15, 0.15, 0.17, 1}, {{1, 1, 1, 1}, {1, 1, 1, 0.55}, "Sans"}};
const Backdrop kLight{"light", {0.95, 0.95, 0.96, 1}, {{0, 0, 0, 0.85}, {0, 0, 0, 0.5}, "Sans"}};

constexpr double kLevels[] = {0, 0.08, 0.5, 1};
constexpr double kScale = 2;   // sharper pictures for review
constexpr double kMargin = 12; // room for what a gauge draws past its frame (glows, labels)

std::string outputDir() {
    const std::string dir = OSTREL_BUILD_DIR "/screenshots/gauges/";
    std::filesystem::create_directories(dir);
    return dir;
}

std::string fileName(GaugeTheme theme, double level, const char* suffix) {
    char percent[8];
    std::snprintf(percent, sizeof percent, "%03d", static_cast<int>(std::lround(level * 100)));
    std::string name(displayName(theme));
    name[0] = static_cast<char>(name[0] - 'A' + 'a');
    return name + "_" + percent + suffix + ".png";
}

GaugeInputs inBand(double level, double t = 0, double hover = 0) {
    return {level, levelForPercentLeft(level * 100), t, hover};
}

// Gauges side by side on one backdrop, each in its natural frame with `margin` around it. The scale
// wraps the finished node, since GTK 4.8 misplaces Cairo nodes recorded under a snapshot scale with an
// offset.
RenderNodePtr recordRow(GaugeTheme theme, const std::vector<GaugeInputs>& inputs, const Backdrop& backdrop,
                        double scale, double margin) {
    const Size size = naturalSize(theme);
    const double tileWidth = size.width + 2 * margin;
    auto snapshot = adopt(gtk_snapshot_new());
    appendColour(snapshot.get(),
                 {0, 0, tileWidth * static_cast<double>(inputs.size()), size.height + 2 * margin},
                 backdrop.background);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        SnapshotState state(snapshot.get());
        translateSnapshot(snapshot.get(), margin + tileWidth * static_cast<double>(i), margin);
        drawGauge(snapshot.get(), theme, inputs[i], size, backdrop.style);
    }
    RenderNodePtr row = finishSnapshot(std::move(snapshot));
    if (scale == 1) return row;
    GskTransform* zoom = gsk_transform_scale(nullptr, static_cast<float>(scale), static_cast<float>(scale));
    RenderNodePtr scaled(gsk_transform_node_new(row.get(), zoom));
    gsk_transform_unref(zoom);
    return scaled;
}

GObjectPtr<GdkTexture> renderRow(OffscreenRenderer& renderer, GaugeTheme theme,
                                 const std::vector<GaugeInputs>& inputs, const Backdrop& backdrop,
                                 double scale, double margin = kMargin) {
    const Size size = naturalSize(theme);
    RenderNodePtr node = recordRow(theme, inputs, backdrop, scale, margin);
    const double width = (size.width + 2 * margin) * static_cast<double>(inputs.size());
    return renderer.render(node.get(),
                           {0, 0, std::ceil(width * scale), std::ceil((size.height + 2 * margin) * scale)});
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
    int differingFrom(Rgba c) const {
        int n = 0;
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) {
                const Rgba p = at(x, y);
                n += std::abs(p.r - c.r) + std::abs(p.g - c.g) + std::abs(p.b - c.b) > 0.05;
            }
        return n;
    }

  private:
    int width_;
    int height_;
    std::vector<unsigned char> data_;
};

class GaugeScreenshots : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(test::startGtk()) << "no display"; }
    void SetUp() override { ASSERT_TRUE(renderer.ready()) << renderer.error(); }
    OffscreenRenderer renderer;
};

} // namespace

TEST_F(GaugeScreenshots, EveryThemeAtEveryLevelInItsBand) {
    const std::string dir = outputDir();
    for (GaugeTheme theme : allGaugeThemes) {
        std::vector<GaugeInputs> row;
        for (double level : kLevels) {
            row.push_back(inBand(level));
            auto texture = renderRow(renderer, theme, {inBand(level)}, kDark, kScale);
            ASSERT_TRUE(texture);
            // Every gauge draws something at every level, even when empty.
            EXPECT_GT(Pixels(texture.get()).differingFrom(kDark.background), 200)
                << fileName(theme, level, "");
            const std::string path = dir + fileName(theme, level, "");
            ASSERT_TRUE(gdk_texture_save_to_png(texture.get(), path.c_str())) << path;
        }
        for (const Backdrop* backdrop : {&kDark, &kLight}) {
            auto sheet = renderRow(renderer, theme, row, *backdrop, kScale);
            const std::string path = dir + "sheet_" +
                                     fileName(theme, 0, "").substr(0, fileName(theme, 0, "").find('_')) +
                                     "_" + backdrop->name + ".png";
            ASSERT_TRUE(sheet && gdk_texture_save_to_png(sheet.get(), path.c_str())) << path;
        }
        // Mid-motion under the pointer: waves, extra bubbles, a leaning flame, wiggling hearts.
        auto moving = renderRow(renderer, theme, {inBand(0.5, 2.0, 1), inBand(0.08, 7.3, 1)}, kDark, kScale);
        const std::string path = dir + fileName(theme, 0.5, "_motion");
        ASSERT_TRUE(moving && gdk_texture_save_to_png(moving.get(), path.c_str())) << path;
    }
}

TEST_F(GaugeScreenshots, GlassLiquidStopsAtItsLevel) {
    const Backdrop black{"black", {0, 0, 0, 1}, kDark.style};
    for (double level : {0.25, 0.75}) {
        auto texture =
            renderRow(renderer, GaugeTheme::glass, {{level, UsageLevel::veryHigh, 0, 0}}, black, 1, 0);
        const Pixels pixels(texture.get());
        // Liquid is green a little below the surface (y = 170 (1 − level)), glass is near black above.
        const Rgba below = pixels.at(60, 170 * (1 - level) + 12);
        const Rgba above = pixels.at(60, 170 * (1 - level) - 12);
        EXPECT_GT(below.g, 0.4) << level;
        EXPECT_GT(below.g, below.r + 0.15) << level;
        EXPECT_LT(above.g, 0.12) << level;
    }
}

TEST_F(GaugeScreenshots, CandleFlameBurnsOnlyAboveTheThreshold) {
    const Backdrop black{"black", {0, 0, 0, 1}, kDark.style};
    const Size size = naturalSize(GaugeTheme::candle);
    auto brightnessAtFlame = [&](double level) {
        const CandleLayout c = candleLayout({level, UsageLevel::low, 0, 0}, size);
        auto texture = renderRow(renderer, GaugeTheme::candle, {{level, UsageLevel::low, 0, 0}}, black, 1, 0);
        if (!texture) return -1.0;
        const Rgba p = Pixels(texture.get()).at(size.width / 2, c.wickTop - 0.3 * c.flameHeight);
        return (p.r + p.g + p.b) / 3;
    };
    EXPECT_GT(brightnessAtFlame(0.006), 0.6);
    EXPECT_LT(brightnessAtFlame(0.004), 0.3);
}
