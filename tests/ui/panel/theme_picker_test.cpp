// The theme picker: where the preview starts, when "Back to my current level" shows, the band the
// miniatures are drawn in, and choosing a tile.

#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/theme_picker_view.h"

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
