#include "support/test_env.h"
#include "tray/tray_label.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace ostrel;

namespace {

// The opaque pixels of columns [x0, x1) and rows [y0, y1): what a logo or the text is painted in.
std::vector<Rgb> inkIn(cairo_surface_t* s, int x0, int x1, int y0 = 0, int y1 = 1 << 16) {
    cairo_surface_flush(s);
    std::vector<Rgb> ink;
    for (int y = y0; y < std::min(y1, cairo_image_surface_get_height(s)); ++y)
        for (int x = x0; x < x1; ++x) {
            const auto px = *reinterpret_cast<const std::uint32_t*>(
                cairo_image_surface_get_data(s) + y * cairo_image_surface_get_stride(s) + x * 4);
            if ((px >> 24) == 255)
                ink.push_back({((px >> 16) & 255) / 255.0, ((px >> 8) & 255) / 255.0, (px & 255) / 255.0});
        }
    return ink;
}

bool near(Rgb a, Rgb b, double tolerance) {
    return std::abs(a.r - b.r) < tolerance && std::abs(a.g - b.g) < tolerance &&
           std::abs(a.b - b.b) < tolerance;
}

} // namespace

TEST(TrayLabel, LogoTakesTheLevelsColourTextTheTraysContrastAndWidthTheText) {
    const std::vector<TrayEntry> items{{ProviderID::claude, "8% · 50m", UsageLevel::low},
                                       {ProviderID::cursor, "42%", UsageLevel::medium},
                                       {ProviderID::codex, "80%", UsageLevel::veryHigh}};
    for (bool dark : {true, false}) {
        CairoSurfacePtr s = TrayLabel{items, dark}.render(2.0);
        ASSERT_TRUE(s);
        const std::vector<Rgb> logo = inkIn(s.get(), 0, 30); // the first logo: 15 points at scale 2
        ASSERT_GT(logo.size(), 20u);
        const Rgb want = iconColor(UsageLevel::low, dark), ink = dark ? Rgb{1, 1, 1} : Rgb{0, 0, 0};
        EXPECT_TRUE(std::ranges::all_of(logo, [&](Rgb p) { return near(p, want, 0.02); }));
        const std::vector<Rgb> text = inkIn(s.get(), 40, 60);
        ASSERT_FALSE(text.empty());
        EXPECT_TRUE(std::ranges::all_of(text, [&](Rgb p) { return near(p, ink, 0.01); }))
            << "white text on a dark bar, black on a light one";
    }
    EXPECT_FALSE((TrayLabel{{}, true}.render(1.0))) << "no items, no label";

    // Longer text widens the label; its height stays.
    CairoSurfacePtr narrow = TrayLabel{{{ProviderID::claude, "8%", UsageLevel::low}}, true}.render(1);
    CairoSurfacePtr wide = TrayLabel{{{ProviderID::claude, "8% · 2d 23h", UsageLevel::low}}, true}.render(1);
    EXPECT_GT(cairo_image_surface_get_width(wide.get()), cairo_image_surface_get_width(narrow.get()) + 20);
    EXPECT_EQ(cairo_image_surface_get_height(wide.get()), cairo_image_surface_get_height(narrow.get()));
}

TEST(ServiceBadge, TheDigitsAreTallEnoughToReadAndFollowTheNumber) {
    // Rows of the lower part that hold the level's colour: the digits' ink height.
    auto digitRows = [](cairo_surface_t* s, Rgb c) {
        const int size = cairo_image_surface_get_width(s);
        int rows = 0;
        for (int y = size * 2 / 5; y < size; ++y)
            rows += std::ranges::any_of(inkIn(s, 0, size, y, y + 1), [&](Rgb p) { return near(p, c, 0.16); });
        return rows;
    };
    for (bool dark : {true, false})
        for (double left : {8.0, 42.0, 100.0}) {
            CairoSurfacePtr b = renderServiceBadge(ProviderID::cursor, left, UsageLevel::low, dark, 22);
            EXPECT_GE(digitRows(b.get(), iconColor(UsageLevel::low, dark)), 9)
                << left << (dark ? " dark" : " light");
        }
    CairoSurfacePtr a42 = renderServiceBadge(ProviderID::claude, 42, UsageLevel::medium, true, 22);
    CairoSurfacePtr a87 = renderServiceBadge(ProviderID::claude, 87, UsageLevel::medium, true, 22);
    EXPECT_NE(inkIn(a42.get(), 0, 22), inkIn(a87.get(), 0, 22)) << "the number is drawn, not a fixed picture";
}
