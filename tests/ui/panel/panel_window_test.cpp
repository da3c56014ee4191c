// The panel window on X11: its width, its place next to the click, and hiding when it loses the
// focus unless a test turned that off.

#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/panel_window.h"
#include "ui/panel/x11_placement.h"

#include <gtest/gtest.h>

// X11's macros (None, Status, ...) must come after every C++ header.
#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

class PanelWindowTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        window = std::make_unique<PanelWindow>(*m.model, "");
        window->setHidesOnFocusLoss(false);
        if (!GDK_IS_X11_DISPLAY(window->get_display()->gobj()))
            GTEST_SKIP() << "placement and focus need X11";
    }
    static void focus(Gtk::Window& w) {
        GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(w.gobj()));
        Display* display = gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface));
        // The X server answers in its own time and, without a window manager, another client may
        // take the focus meanwhile: ask until it holds (bounded). Focusing an unmapped window is a
        // BadMatch: wait for the map, and count a refused request as one more try.
        runLoopUntil([&] { return w.get_mapped(); }, std::chrono::seconds(5));
        for (int attempt = 0; attempt < 10; ++attempt) {
            gdk_x11_display_error_trap_push(gdk_surface_get_display(surface));
            XSetInputFocus(display, gdk_x11_surface_get_xid(surface), RevertToParent, CurrentTime);
            XFlush(display);
            gdk_x11_display_error_trap_pop_ignored(gdk_surface_get_display(surface));
            if (!runLoopUntil([&] { return w.is_active(); }, std::chrono::milliseconds(500))) continue;
            settle();
            if (w.is_active()) return;
        }
    }

    PanelModel m;
    std::unique_ptr<PanelWindow> window;
};

} // namespace

TEST_F(PanelWindowTest, OpensThePanelsWidthNextToTheClick) {
    // A click near the bottom edge opens the panel above it (the rest of the rule: PanelPlacement).
    window->popup(std::pair{640, 1020});
    settle();
    EXPECT_EQ(window->get_width(), PanelView::width);
    EXPECT_FALSE(window->get_decorated());
    EXPECT_FALSE(window->translucent()) << "Xvfb has no compositor: the card is drawn solid";
    EXPECT_TRUE(window->view().has_css_class("opaque"));
    auto corner = X11Placement::position(*window);
    ASSERT_TRUE(corner);
    EXPECT_EQ(corner->y + window->get_height(), 1020 - 4);

    // A taller screen grows upwards there, keeping the lower edge by the tray.
    const int before = window->get_height();
    window->view().setScreen(PanelScreen::settings);
    settle();
    ASSERT_GT(window->get_height(), before);
    corner = X11Placement::position(*window);
    EXPECT_EQ(corner->y + window->get_height(), 1020 - 4);
}

TEST_F(PanelWindowTest, HidesWhenTheFocusGoesElsewhereUnlessTurnedOff) {
    Gtk::Window other;
    other.set_default_size(50, 50);
    other.present();
    window->popup();
    settle();

    focus(*window);
    ASSERT_TRUE(window->is_active());
    focus(other);
    EXPECT_TRUE(window->get_visible()) << "turned off for tests";

    window->setHidesOnFocusLoss(true);
    focus(*window);
    ASSERT_TRUE(window->is_active());
    focus(other);
    EXPECT_TRUE(runLoopUntil([&] { return !window->get_visible(); }, std::chrono::seconds(5)));
    other.destroy();
}

// Without a tray the panel is a window of its own: decorated, with the app's icon, solid, saying
// once that no tray was found, and staying when the focus goes elsewhere (nothing else would bring
// it back). A tray that appears makes it a drop-down again from the next opening.
TEST_F(PanelWindowTest, WithoutATrayItIsAWindowThatSaysSoOnceUntilATrayAppears) {
    window->setHidesOnFocusLoss(true);
    window->setTrayPresent(false);
    EXPECT_FALSE(window->dropDown());
    window->popup(std::pair{640, 1020});
    settle();
    EXPECT_TRUE(window->get_decorated());
    EXPECT_EQ(window->get_icon_name(), "app.ostrel.Ostrel");
    EXPECT_TRUE(window->noTrayNoticeShown());
    EXPECT_FALSE(window->translucent());
    auto corner = X11Placement::position(*window);
    ASSERT_TRUE(corner);
    EXPECT_NE(corner->y + window->get_height(), 1020 - 4) << "where the desktop puts it, not by a click";

    Gtk::Window other;
    other.set_default_size(50, 50);
    other.present();
    focus(*window);
    ASSERT_TRUE(window->is_active());
    focus(other);
    pump(300ms);
    EXPECT_TRUE(window->get_visible()) << "no tray: focus loss keeps it";

    window->hide();
    window->popup();
    settle();
    EXPECT_FALSE(window->noTrayNoticeShown()) << "said once";

    window->setTrayPresent(true);
    EXPECT_TRUE(window->get_decorated()) << "not changed under the user's eyes";
    window->hide();
    EXPECT_TRUE(window->dropDown());
    EXPECT_FALSE(window->get_decorated());
    window->popup(std::pair{640, 1020});
    settle();
    corner = X11Placement::position(*window);
    ASSERT_TRUE(corner);
    EXPECT_EQ(corner->y + window->get_height(), 1020 - 4);
    focus(*window);
    ASSERT_TRUE(window->is_active());
    focus(other);
    EXPECT_TRUE(runLoopUntil([&] { return !window->get_visible(); }, std::chrono::seconds(5)));
    other.destroy();
}
