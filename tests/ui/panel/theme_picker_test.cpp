// The theme picker: where the preview starts, when "Back to my current level" shows, the band the
// miniatures are drawn in, and choosing a tile.

#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/theme_picker_view.h"
#include "ui/panel/theme_preview.h"

#include <cmath>
#include <gtest/gtest.h>
#include <gtkmm/scale.h>

using namespace ostrel;
using namespace ostrel::test;

namespace {

class ThemePickerTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(startGtk()) << "no display"; }

    void open(std::optional<double> current) {
        host.reset();
        picker = std::make_unique<ThemePickerView>(m.settings, current);
        host = std::make_unique<Host>(*picker);
    }
    void TearDown() override {
        host.reset();
        picker.reset();
    }
    Gtk::Scale& slider() { return named<Gtk::Scale>(*picker, "preview-slider"); }
    std::string label() { return named<Gtk::Label>(*picker, "preview-value").get_text(); }
    bool offersReturn() { return shown(named<Gtk::Button>(*picker, "back-to-current")); }

    PanelModel m;
    std::unique_ptr<ThemePickerView> picker;
    std::unique_ptr<Host> host;
};

} // namespace

TEST_F(ThemePickerTest, WithoutACurrentLevelThePreviewStartsAt70AndNeverOffersAReturn) {
    open(std::nullopt);
    EXPECT_EQ(slider().get_value(), 70);
    EXPECT_EQ(label(), "70% left");
    EXPECT_FALSE(offersReturn());
    slider().set_value(12);
    EXPECT_EQ(label(), "12% left");
    EXPECT_FALSE(offersReturn());
}

TEST_F(ThemePickerTest, ReturnToTheCurrentLevelOnceTheSliderIsAPointAway) {
    open(42.0);
    EXPECT_EQ(slider().get_value(), 42);
    EXPECT_EQ(label(), "42% left");
    EXPECT_FALSE(offersReturn());
    slider().set_value(42.5);
    EXPECT_FALSE(offersReturn());
    slider().set_value(43);
    EXPECT_TRUE(offersReturn());
    EXPECT_EQ(label(), "43% left");
    slider().set_value(41);
    EXPECT_TRUE(offersReturn()) << "a point below counts too";
    press(named<Gtk::Button>(*picker, "back-to-current"));
    EXPECT_EQ(slider().get_value(), 42);
    EXPECT_EQ(picker->previewPercent(), 42);
    EXPECT_FALSE(offersReturn());
}

TEST_F(ThemePickerTest, MiniaturesFollowThePreviewInItsUnroundedBand) {
    open(std::nullopt);
    slider().set_value(49.5);
    EXPECT_EQ(label(), "50% left");
    for (GaugeTheme theme : allGaugeThemes) {
        GaugeView& gauge = picker->tile(theme).gauge();
        EXPECT_DOUBLE_EQ(gauge.level(), 0.495);
        EXPECT_EQ(gauge.state(), UsageLevel::medium) << displayName(theme);
    }
    slider().set_value(0);
    EXPECT_EQ(picker->tile(GaugeTheme::hearts).gauge().state(), UsageLevel::low);
    slider().set_value(100);
    EXPECT_DOUBLE_EQ(picker->tile(GaugeTheme::plant).gauge().level(), 1);
    EXPECT_EQ(picker->tile(GaugeTheme::plant).gauge().state(), UsageLevel::veryHigh);
}

TEST_F(ThemePickerTest, ChoosingATileStoresTheThemeAtOnce) {
    open(std::nullopt);
    EXPECT_TRUE(picker->tile(GaugeTheme::glass).selected());
    press(picker->tile(GaugeTheme::meter));
    EXPECT_EQ(m.settings.theme(), GaugeTheme::meter);
    EXPECT_NE(m.settingsFile().find("gaugeTheme=theme4"), std::string::npos);
    for (GaugeTheme theme : allGaugeThemes) {
        ThemeTile& tile = picker->tile(theme);
        const bool chosen = theme == GaugeTheme::meter;
        EXPECT_EQ(tile.selected(), chosen);
        EXPECT_EQ(tile.showsCheckmark(), chosen);
    }
    press(picker->tile(GaugeTheme::meter));
    EXPECT_EQ(m.settings.theme(), GaugeTheme::meter) << "choosing it again changes nothing";
    EXPECT_TRUE(picker->tile(GaugeTheme::meter).selected());
}

TEST_F(ThemePickerTest, SixMiniaturesScrollInA290PointArea) {
    open(std::nullopt);
    host->settle();
    EXPECT_EQ(picker->scroller().get_height(), 290);
    auto adjustment = picker->scroller().get_vadjustment();
    EXPECT_GT(adjustment->get_upper(), adjustment->get_page_size()) << "the last row is reached by scrolling";
    // Each miniature is its gauge scaled evenly, at most 0.45, to fit the frame's height.
    for (GaugeTheme theme : allGaugeThemes) {
        const Size natural = naturalSize(theme);
        GaugeView& gauge = picker->tile(theme).gauge();
        const double scaleX = gauge.get_width() / natural.width, scaleY = gauge.get_height() / natural.height;
        EXPECT_LE(gauge.get_height(), std::ceil(ThemePreview::frameHeight)) << displayName(theme);
        EXPECT_LE(gauge.get_width(), std::ceil(0.45 * natural.width)) << displayName(theme);
        EXPECT_NEAR(scaleX, scaleY, 0.02) << displayName(theme) << " keeps its proportions";
    }
    // Two columns: glass and bubble share the first row, meter starts the second.
    auto top = [&](GaugeTheme t) {
        double x = 0, y = 0;
        picker->tile(t).translate_coordinates(*picker, 0, 0, x, y);
        return std::pair{x, y};
    };
    EXPECT_EQ(top(GaugeTheme::glass).second, top(GaugeTheme::bubble).second);
    EXPECT_LT(top(GaugeTheme::glass).first, top(GaugeTheme::bubble).first);
    EXPECT_GT(top(GaugeTheme::meter).second, top(GaugeTheme::glass).second);
    EXPECT_EQ(top(GaugeTheme::meter).first, top(GaugeTheme::glass).first);
}
