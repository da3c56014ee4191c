#include "base/gobject_ptr.h"
#include "support/display.h"
#include "ui/gauges/gauge_view.h"

#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <gtkmm/init.h>

using namespace ostrel;

namespace {

bool waitUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        g_main_context_iteration(nullptr, FALSE);
    }
    return true;
}

// Delivers a pointer event to the view's motion controller, as GTK would.
void emitPointer(GaugeView& view, const char* signal, double x = 0, double y = 0) {
    auto controllers = adopt(gtk_widget_observe_controllers(view.gobj()));
    const guint n = g_list_model_get_n_items(G_LIST_MODEL(controllers.get()));
    for (guint i = 0; i < n; ++i) {
        auto controller =
            adopt(static_cast<GObject*>(g_list_model_get_item(G_LIST_MODEL(controllers.get()), i)));
        if (!GTK_IS_EVENT_CONTROLLER_MOTION(controller.get())) continue;
        if (std::string_view(signal) == "leave")
            g_signal_emit_by_name(controller.get(), signal);
        else
            g_signal_emit_by_name(controller.get(), signal, x, y);
    }
}

class GaugeViewTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(test::startGtk()) << "no display"; }
    void SetUp() override { animations(true); }
    void TearDown() override { animations(true); }

    static void animations(bool on) { Gtk::Settings::get_default()->property_gtk_enable_animations() = on; }
    void show(GaugeView& view) {
        window.set_child(view);
        window.present();
        ASSERT_TRUE(waitUntil([&] { return view.get_mapped() && view.get_width() > 0; }));
    }

    double now = 1000;
    GaugeView::TimeSource clock = [this] { return now; };
    Gtk::Window window;
};

} // namespace

TEST_F(GaugeViewTest, FillsFromEmptyWhenShownAndFollowsNewLevels) {
    GaugeView view(GaugeTheme::glass, 0.6, UsageLevel::high, true, clock);
    view.setLevel(0.7); // before it is on screen: no animation yet, just the target
    show(view);
    EXPECT_DOUBLE_EQ(view.currentFrame().inputs.level, 0);
    now += 0.45;
    EXPECT_NEAR(view.currentFrame().inputs.level, 0.7 * 0.875, 1e-12);
    EXPECT_DOUBLE_EQ(view.currentFrame().inputs.t, now);

    const double shown = view.currentFrame().inputs.level;
    view.setLevel(0.2);
    EXPECT_DOUBLE_EQ(view.currentFrame().inputs.level, shown);
    now += 0.9;
    EXPECT_DOUBLE_EQ(view.currentFrame().inputs.level, 0.2);
    EXPECT_EQ(view.currentFrame().inputs.state, UsageLevel::high);
}

TEST_F(GaugeViewTest, ReduceMotionShowsAStillPictureAtTheExactLevel) {
    GaugeView view(GaugeTheme::candle, 0.6, UsageLevel::high, true, clock);
    show(view);
    EXPECT_TRUE(view.motionOn());
    EXPECT_TRUE(view.ticking());

    animations(false);
    EXPECT_FALSE(view.motionOn());
    EXPECT_FALSE(view.ticking());
    const GaugeFrame still = view.currentFrame();
    EXPECT_DOUBLE_EQ(still.inputs.level, 0.6);
    EXPECT_DOUBLE_EQ(still.inputs.t, 0);
    EXPECT_DOUBLE_EQ(still.inputs.hover, 0);
    EXPECT_DOUBLE_EQ(still.rotationDegrees, 0);

    animations(true);
    EXPECT_TRUE(view.ticking());
}

TEST_F(GaugeViewTest, ClockRunsOnlyWhileMappedAndAllowed) {
    GaugeView view(GaugeTheme::hearts, 0.3, UsageLevel::medium, false, clock);
    EXPECT_FALSE(view.ticking());
    show(view);
    EXPECT_FALSE(view.ticking()); // the caller did not allow motion
    view.setAnimated(true);
    EXPECT_TRUE(view.ticking());
    window.set_visible(false);
    ASSERT_TRUE(waitUntil([&] { return !view.get_mapped(); }));
    EXPECT_FALSE(view.ticking());

    // Shown again, it refills from empty.
    now += 5;
    window.present();
    ASSERT_TRUE(waitUntil([&] { return view.get_mapped(); }));
    EXPECT_TRUE(view.ticking());
    EXPECT_DOUBLE_EQ(view.currentFrame().inputs.level, 0);
}

TEST_F(GaugeViewTest, AsksForTheThemesNaturalSizeUnlessToldOtherwise) {
    GaugeView view(GaugeTheme::meter, 0.5, UsageLevel::high, true, clock);
    auto measure = [&](Gtk::Orientation o) {
        int minimum = 0, natural = 0, minBase = 0, natBase = 0;
        view.measure(o, -1, minimum, natural, minBase, natBase);
        return natural;
    };
    for (GaugeTheme theme : allGaugeThemes) {
        view.setTheme(theme);
        const Size natural = naturalSize(theme);
        EXPECT_EQ(measure(Gtk::Orientation::HORIZONTAL), static_cast<int>(std::ceil(natural.width)));
        EXPECT_EQ(measure(Gtk::Orientation::VERTICAL), static_cast<int>(std::ceil(natural.height)));
    }
    view.setPreferredSize(Size{64, 48});
    EXPECT_EQ(measure(Gtk::Orientation::HORIZONTAL), 64);
    EXPECT_EQ(measure(Gtk::Orientation::VERTICAL), 48);
}

TEST_F(GaugeViewTest, PointerAtTheRightEdgeLeansTheGaugeAndLeavingUndoesIt) {
    GaugeView view(GaugeTheme::glass, 0.5, UsageLevel::high, true, clock);
    show(view);
    const double w = view.get_width();
    const double h = view.get_height();
    ASSERT_GT(w, 0);
    emitPointer(view, "enter", w, h / 2);
    now += 0.35;
    GaugeFrame leaning = view.currentFrame();
    EXPECT_DOUBLE_EQ(leaning.rotationDegrees, 6);
    EXPECT_DOUBLE_EQ(leaning.offset.x, 0.05 * w);
    EXPECT_DOUBLE_EQ(leaning.offset.y, 0);
    EXPECT_DOUBLE_EQ(leaning.inputs.hover, 1);

    emitPointer(view, "leave");
    now += 0.35;
    const GaugeFrame rest = view.currentFrame();
    EXPECT_DOUBLE_EQ(rest.rotationDegrees, 0);
    EXPECT_DOUBLE_EQ(rest.inputs.hover, 0);
}
