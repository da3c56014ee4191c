#include "support/test_env.h"
#include "tray/tray_label.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace ostrel;

namespace {

// Mean colour of the opaque pixels in a column range: what the logo or the text is painted in.
struct Ink {
    double r = 0, g = 0, b = 0;
    int count = 0;
};
Ink inkIn(cairo_surface_t* s, int x0, int x1) {
    cairo_surface_flush(s);
    const int stride = cairo_image_surface_get_stride(s), h = cairo_image_surface_get_height(s);
    const unsigned char* data = cairo_image_surface_get_data(s);
    Ink ink;
    for (int y = 0; y < h; ++y)
        for (int x = x0; x < x1; ++x) {
            const auto px = *reinterpret_cast<const std::uint32_t*>(data + y * stride + x * 4);
            if ((px >> 24) != 255) continue;
            ink.r += ((px >> 16) & 0xff) / 255.0;
            ink.g += ((px >> 8) & 0xff) / 255.0;
            ink.b += (px & 0xff) / 255.0;
            ++ink.count;
        }
    if (ink.count) ink.r /= ink.count, ink.g /= ink.count, ink.b /= ink.count;
    return ink;
}

} // namespace

TEST(TrayLabel, LogoTakesTheLevelsColourTextTheTraysContrastAndWidthTheText) {
    const std::vector<TrayEntry> items{{ProviderID::claude, "8% · 50m", UsageLevel::low},
                                       {ProviderID::cursor, "42%", UsageLevel::medium},
                                       {ProviderID::codex, "80%", UsageLevel::veryHigh}};
    for (bool dark : {true, false}) {
        const TrayLabel label{items, dark};
        CairoSurfacePtr s = label.render(2.0);
        ASSERT_TRUE(s);
        const Ink logo = inkIn(s.get(), 0, 30); // the first logo: 15 points at scale 2
        ASSERT_GT(logo.count, 20);
        const Rgb want = iconColor(UsageLevel::low, dark);
        EXPECT_NEAR(logo.r, want.r, 0.02);
        EXPECT_NEAR(logo.g, want.g, 0.02);
        EXPECT_NEAR(logo.b, want.b, 0.02);
        const Ink text = inkIn(s.get(), 40, 60);
        ASSERT_GT(text.count, 0);
        EXPECT_NEAR(text.r, dark ? 1.0 : 0.0, 0.01) << "white text on a dark bar, black on a light one";
    }
    EXPECT_EQ(iconColor(UsageLevel::medium, true), iconColor(UsageLevel::high, true));
    EXPECT_FALSE((TrayLabel{{}, true}.render(1.0))) << "no items, no label";

    // Longer text widens the label; its height stays.
    CairoSurfacePtr narrow = TrayLabel{{{ProviderID::claude, "8%", UsageLevel::low}}, true}.render(1);
    CairoSurfacePtr wide = TrayLabel{{{ProviderID::claude, "8% · 2d 23h", UsageLevel::low}}, true}.render(1);
    EXPECT_GT(cairo_image_surface_get_width(wide.get()), cairo_image_surface_get_width(narrow.get()) + 20);
    EXPECT_EQ(cairo_image_surface_get_height(wide.get()), cairo_image_surface_get_height(narrow.get()));
}
