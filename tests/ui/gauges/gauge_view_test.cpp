// The gauge widget on a real display: when its clock runs, what it asks for, how it follows the
// pointer (the curves themselves are the motion's business). And gauges drawn off-screen, probed at
// the pixels where a drawing fault would show; pictures of every theme for reviewers come from
// scripts/screenshots.sh.
#include "base/gobject_ptr.h"
#include "support/display.h"
#include "support/loop.h"
#include "ui/gauges/candle_layout.h"
#include "ui/gauges/gauge_drawing.h"
#include "ui/gauges/gauge_render.h"
#include "ui/gauges/gauge_view.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

using namespace ostrel;

namespace {

// Delivers a pointer event to the view's motion controller, as GTK would ("leave" reads no position).
void emitPointer(GaugeView& view, const char* signal, double x = 0, double y = 0) {
    auto controllers = adopt(G_LIST_MODEL(gtk_widget_observe_controllers(view.gobj())));
    for (guint i = 0; i < g_list_model_get_n_items(controllers.get()); ++i) {
        auto controller = adopt(static_cast<GObject*>(g_list_model_get_item(controllers.get(), i)));
        if (!GTK_IS_EVENT_CONTROLLER_MOTION(controller.get())) continue;
        g_signal_emit_by_name(controller.get(), signal, x, y);
    }
}

class GaugeViewTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(test::startGtk()) << "no display"; }
    void TearDown() override { animations(true); }
    void drawable() { ASSERT_TRUE(renderer.ready()) << renderer.error(); }

    static void animations(bool on) { Gtk::Settings::get_default()->property_gtk_enable_animations() = on; }
    void show(GaugeView& view) {
        window.set_child(view);
        window.present();
        ASSERT_TRUE(
            runLoopUntil([&] { return view.get_mapped() && view.get_width() > 0; }, std::chrono::seconds(5)));
    }
    double level(GaugeView& view) { return view.currentFrame().inputs.level; }

    double now = 1000;
    GaugeView::TimeSource clock = [this] { return now; };
    Gtk::Window window;
    OffscreenRenderer renderer;
};

constexpr Rgba kBlack{0, 0, 0, 1};
const GaugeStyle kStyle{{1, 1, 1, 1}, {1, 1, 1, 0.55}, "Sans"};

// Draws one gauge in its natural frame on black and reads back the straight (not premultiplied)
// colours at `points`; nothing when it cannot be drawn.
std::vector<Rgba> probe(OffscreenRenderer& renderer, GaugeTheme theme, const GaugeInputs& inputs,
                        std::initializer_list<Point> points) {
    const Size size = naturalSize(theme);
    auto snapshot = adopt(gtk_snapshot_new());
    appendColour(snapshot.get(), {0, 0, size.width, size.height}, kBlack);
    drawGauge(snapshot.get(), theme, inputs, size, kStyle);
    RenderNodePtr node = finishSnapshot(std::move(snapshot));
    auto texture = renderer.render(node.get(), {0, 0, std::ceil(size.width), std::ceil(size.height)});
    if (!texture) return {};
    const auto width = static_cast<std::size_t>(gdk_texture_get_width(texture.get()));
    std::vector<unsigned char> data(width * static_cast<std::size_t>(gdk_texture_get_height(texture.get())) *
                                    4);
    gdk_texture_download(texture.get(), data.data(), width * 4);
    std::vector<Rgba> out;
    for (Point p : points) {
        // Cairo's ARGB32 in native byte order: B, G, R, A on this little-endian machine.
        const unsigned char* px =
            &data[(static_cast<std::size_t>(p.y) * width + static_cast<std::size_t>(p.x)) * 4];
        const double a = px[3] / 255.0;
        out.push_back(a == 0 ? Rgba{0, 0, 0, 0}
                             : Rgba{px[2] / 255.0 / a, px[1] / 255.0 / a, px[0] / 255.0 / a, a});
    }
    return out;
}

} // namespace

TEST_F(GaugeViewTest, FillsFromEmptyWhenShownFollowsNewLevelsAndLeansToThePointer) {
    GaugeView view(GaugeTheme::glass, 0.6, UsageLevel::high, true, clock);
    view.setLevel(0.7); // before it is on screen: no animation yet, just the target
    show(view);
    EXPECT_DOUBLE_EQ(level(view), 0);
    now += 0.45;
    const double shown = level(view);
    EXPECT_GT(shown, 0.35);
    EXPECT_LT(shown, 0.7);
    EXPECT_DOUBLE_EQ(view.currentFrame().inputs.t, now);
    view.setLevel(0.2);
    EXPECT_DOUBLE_EQ(level(view), shown) << "no jump";
    now += 0.9;
    EXPECT_DOUBLE_EQ(level(view), 0.2);

    // The pointer at the right edge leans the gauge fully; leaving undoes it.
    emitPointer(view, "enter", view.get_width(), view.get_height() / 2.0);
    now += 0.35;
    EXPECT_DOUBLE_EQ(view.currentFrame().rotationDegrees, 6);
    emitPointer(view, "leave");
    now += 0.35;
    EXPECT_DOUBLE_EQ(view.currentFrame().rotationDegrees, 0);
}

TEST_F(GaugeViewTest, ClockRunsOnlyWhileMappedAndAllowedReduceMotionStandsStillAndSizeFollowsTheTheme) {
    GaugeView view(GaugeTheme::hearts, 0.3, UsageLevel::medium, false, clock);
    show(view);
    EXPECT_FALSE(view.ticking()) << "the caller did not allow motion";
    view.setAnimated(true);
    EXPECT_TRUE(view.ticking());

    animations(false); // the desktop asks for no motion: a still picture at the exact level
    EXPECT_FALSE(view.ticking());
    const GaugeFrame still = view.currentFrame();
    EXPECT_DOUBLE_EQ(still.inputs.level, 0.3);
    EXPECT_DOUBLE_EQ(still.inputs.t, 0);
    animations(true);
    EXPECT_TRUE(view.ticking());

    window.set_visible(false);
    ASSERT_TRUE(runLoopUntil([&] { return !view.get_mapped(); }, std::chrono::seconds(5)));
    EXPECT_FALSE(view.ticking());
    now += 5;
    window.present();
    ASSERT_TRUE(runLoopUntil([&] { return view.get_mapped(); }, std::chrono::seconds(5)));
    EXPECT_TRUE(view.ticking());
    EXPECT_DOUBLE_EQ(level(view), 0) << "shown again, it refills from empty";

    // It asks for the theme's natural size unless told otherwise.
    auto measure = [&](Gtk::Orientation o) {
        int minimum = 0, natural = 0, minBase = 0, natBase = 0;
        view.measure(o, -1, minimum, natural, minBase, natBase);
        return natural;
    };
    view.setTheme(GaugeTheme::meter);
    EXPECT_EQ(measure(Gtk::Orientation::HORIZONTAL), std::ceil(naturalSize(GaugeTheme::meter).width));
    EXPECT_EQ(measure(Gtk::Orientation::VERTICAL), std::ceil(naturalSize(GaugeTheme::meter).height));
    view.setPreferredSize(Size{64, 48});
    EXPECT_EQ(measure(Gtk::Orientation::HORIZONTAL), 64);
    EXPECT_EQ(measure(Gtk::Orientation::VERTICAL), 48);
}

TEST_F(GaugeViewTest, GlassLiquidStopsAtItsLevel) {
    drawable();
    for (double level : {0.25, 0.75}) {
        // Liquid is green a little below the surface (y = 170 (1 − level)), glass is near black above.
        const auto p = probe(renderer, GaugeTheme::glass, {level, UsageLevel::veryHigh, 0, 0},
                             {{60, 170 * (1 - level) + 12}, {60, 170 * (1 - level) - 12}});
        ASSERT_EQ(p.size(), 2u);
        EXPECT_GT(p[0].g, 0.4) << level;
        EXPECT_GT(p[0].g, p[0].r + 0.15) << level;
        EXPECT_LT(p[1].g, 0.12) << level;
    }
}

TEST_F(GaugeViewTest, CandleFlameBurnsOnlyAboveTheThreshold) {
    drawable();
    auto brightnessAtFlame = [&](double level) {
        const CandleLayout c = candleLayout({level, UsageLevel::low, 0, 0}, naturalSize(GaugeTheme::candle));
        const auto p = probe(renderer, GaugeTheme::candle, {level, UsageLevel::low, 0, 0},
                             {{naturalSize(GaugeTheme::candle).width / 2, c.wickTop - 0.3 * c.flameHeight}});
        return p.empty() ? -1.0 : (p[0].r + p[0].g + p[0].b) / 3;
    };
    EXPECT_GT(brightnessAtFlame(0.006), 0.6);
    EXPECT_LT(brightnessAtFlame(0.004), 0.3);
}
