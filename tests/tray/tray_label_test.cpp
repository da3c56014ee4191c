#include "support/test_env.h"
#include "tray/tray_label.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <tuple>

using namespace ostrel;

namespace {

// The bars a tray item meets: a light one and a dark one, the item told neither.
constexpr Rgb lightBar{0xee / 255.0, 0xee / 255.0, 0xee / 255.0};
constexpr Rgb darkBar{0x22 / 255.0, 0x22 / 255.0, 0x22 / 255.0};
constexpr UsageLevel allLevels[] = {UsageLevel::low, UsageLevel::medium, UsageLevel::high,
                                    UsageLevel::veryHigh};

// The picture as the host shows it: painted over the bar's colour, read back pixel by pixel.
struct OnBar {
    int width = 0, height = 0;
    std::vector<Rgb> px;
    Rgb at(int x, int y) const { return px[static_cast<std::size_t>(y * width + x)]; }
};

OnBar paintOver(cairo_surface_t* picture, Rgb bar) {
    OnBar out{cairo_image_surface_get_width(picture), cairo_image_surface_get_height(picture), {}};
    CairoSurfacePtr s(cairo_image_surface_create(CAIRO_FORMAT_RGB24, out.width, out.height));
    const CairoPtr cr(cairo_create(s.get()));
    cairo_set_source_rgb(cr.get(), bar.r, bar.g, bar.b);
    cairo_paint(cr.get());
    cairo_surface_set_device_scale(picture, 1, 1);
    cairo_set_source_surface(cr.get(), picture, 0, 0);
    cairo_paint(cr.get());
    cairo_surface_flush(s.get());
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            const auto p = *reinterpret_cast<const std::uint32_t*>(
                cairo_image_surface_get_data(s.get()) + y * cairo_image_surface_get_stride(s.get()) + x * 4);
            out.px.push_back({((p >> 16) & 255) / 255.0, ((p >> 8) & 255) / 255.0, (p & 255) / 255.0});
        }
    return out;
}

// The rows of columns [x0, x1) and rows [y0, height) holding ink that reads at 3:1 or better
// against the region's most common colour (what the eye sees behind the ink there).
int readableRows(const OnBar& img, int x0, int x1, int y0 = 0) {
    std::map<std::tuple<int, int, int>, int> counts;
    auto key = [](Rgb c) {
        return std::tuple{int(std::lround(c.r * 255)), int(std::lround(c.g * 255)),
                          int(std::lround(c.b * 255))};
    };
    for (int y = y0; y < img.height; ++y)
        for (int x = x0; x < x1; ++x)
            ++counts[key(img.at(x, y))];
    const auto [r, g, b] =
        std::ranges::max_element(counts, {}, [](const auto& kv) { return kv.second; })->first;
    const Rgb ground{r / 255.0, g / 255.0, b / 255.0};
    int rows = 0;
    for (int y = y0; y < img.height; ++y) {
        bool ink = false;
        for (int x = x0; x < x1 && !ink; ++x)
            ink = contrastRatio(img.at(x, y), ground) >= 3.0;
        rows += ink;
    }
    return rows;
}

bool near(Rgb a, Rgb b, double tolerance) {
    return std::abs(a.r - b.r) < tolerance && std::abs(a.g - b.g) < tolerance &&
           std::abs(a.b - b.b) < tolerance;
}

} // namespace

TEST(TrayColours, EveryLevelAndTheTextReadOnTheBarTheyAreDrawnFor) {
    // Spot values of the contrast formula itself, so the checks below measure something real.
    EXPECT_NEAR(contrastRatio({0, 0, 0}, {1, 1, 1}), 21.0, 0.01);
    EXPECT_NEAR(contrastRatio({1, 1, 1}, {0, 0, 0}), 21.0, 0.01) << "the order of the two does not matter";
    EXPECT_NEAR(contrastRatio(lightBar, lightBar), 1.0, 1e-9);
    EXPECT_NEAR(contrastRatio({0.75, 0.55, 0.0}, lightBar), 2.6, 0.05) << "the amber that read badly";
    for (bool dark : {true, false}) {
        const Rgb bar = dark ? darkBar : lightBar;
        for (UsageLevel level : allLevels) {
            EXPECT_GE(contrastRatio(iconColor(level, dark), bar), 3.0)
                << static_cast<int>(level) << (dark ? " on the dark bar" : " on the light bar");
            EXPECT_GE(contrastRatio(iconColor(level, dark), chipColour(dark)), 3.0) << "and on its chip";
        }
        EXPECT_GE(contrastRatio(chipTextColour(dark), chipColour(dark)), 7.0) << "the label's text";
    }
}

// A picture with digits is read on a bar of either shade whatever style the item was told (no
// preference set means "light" to the item, on what may well be a dark bar).
TEST(TrayLabel, DigitsReadOnALightAndADarkBarInEitherStyle) {
    const std::vector<TrayEntry> items{{ProviderID::claude, "8% · 50m", UsageLevel::low},
                                       {ProviderID::cursor, "42%", UsageLevel::medium},
                                       {ProviderID::codex, "80%", UsageLevel::veryHigh}};
    for (bool dark : {true, false})
        for (Rgb bar : {lightBar, darkBar}) {
            const std::string where = std::string(dark ? "dark" : "light") + " style on a " +
                                      (bar == lightBar ? "light" : "dark") + " bar";
            CairoSurfacePtr label = TrayLabel{items, dark}.render(1.0);
            ASSERT_TRUE(label);
            const OnBar l = paintOver(label.get(), bar);
            // The first item's text starts after its logo (15 points and a little padding).
            EXPECT_GE(readableRows(l, 22, 50), 8) << "label text, " << where;
            EXPECT_GE(readableRows(l, 2, 20), 9) << "label logo, " << where;
            for (UsageLevel level : allLevels)
                for (double left : {8.0, 42.0, 100.0}) {
                    CairoSurfacePtr b = renderServiceBadge(ProviderID::cursor, left, level, dark, 22);
                    EXPECT_GE(readableRows(paintOver(b.get(), bar), 0, 22, 9), 9)
                        << "badge " << left << " at level " << static_cast<int>(level) << ", " << where;
                }
            CairoSurfacePtr icon = renderPlainIcon(22, dark);
            EXPECT_GE(readableRows(paintOver(icon.get(), bar), 0, 22), 12) << "plain icon, " << where;
        }
}

TEST(TrayLabel, LogoTakesTheLevelsColourWidthFollowsTheTextAndSquaresNameTheirService) {
    for (bool dark : {true, false}) {
        CairoSurfacePtr s = TrayLabel{{{ProviderID::claude, "8%", UsageLevel::low}}, dark}.render(2.0);
        const OnBar img = paintOver(s.get(), dark ? lightBar : darkBar);
        int tinted = 0;
        for (int y = 0; y < img.height; ++y)
            for (int x = 0; x < 40; ++x)
                tinted += near(img.at(x, y), iconColor(UsageLevel::low, dark), 0.02);
        EXPECT_GT(tinted, 40) << (dark ? "dark" : "light");
    }
    EXPECT_FALSE((TrayLabel{{}, true}.render(1.0))) << "no items, no label";

    CairoSurfacePtr narrow = TrayLabel{{{ProviderID::claude, "8%", UsageLevel::low}}, true}.render(1);
    CairoSurfacePtr wide = TrayLabel{{{ProviderID::claude, "8% · 2d 23h", UsageLevel::low}}, true}.render(1);
    EXPECT_GT(cairo_image_surface_get_width(wide.get()), cairo_image_surface_get_width(narrow.get()) + 20);
    EXPECT_EQ(cairo_image_surface_get_height(wide.get()), cairo_image_surface_get_height(narrow.get()));

    CairoSurfacePtr a42 = renderServiceBadge(ProviderID::claude, 42, UsageLevel::medium, true, 22);
    CairoSurfacePtr a87 = renderServiceBadge(ProviderID::claude, 87, UsageLevel::medium, true, 22);
    EXPECT_NE(paintOver(a42.get(), darkBar).px, paintOver(a87.get(), darkBar).px)
        << "the number is drawn, not a fixed picture";
    // Squares of the same number and level: only the service's mark above the digits tells them apart.
    std::vector<std::vector<Rgb>> marks;
    for (ProviderID id : {ProviderID::claude, ProviderID::cursor, ProviderID::codex}) {
        CairoSurfacePtr b = renderServiceBadge(id, 42, UsageLevel::medium, false, 22);
        const OnBar img = paintOver(b.get(), darkBar);
        EXPECT_GE(readableRows(img, 0, 22), 14) << "the mark and the digits, both readable";
        marks.emplace_back(img.px.begin(), img.px.begin() + 22 * 8);
    }
    EXPECT_NE(marks[0], marks[1]);
    EXPECT_NE(marks[1], marks[2]);
    EXPECT_NE(marks[0], marks[2]);
}
