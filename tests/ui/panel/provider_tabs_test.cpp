// The tab row: the selected state as assistive technology sees it, and the highlight sliding on a
// spring from the old tab to the new one, or jumping there when the desktop turns motion off.

#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/provider_tabs.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using enum ProviderID;

namespace {

class ProviderTabsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        setAnimations(true);
        tabs = std::make_unique<ProviderTabs>([this](ProviderID id) {
            picked.push_back(id);
            tabs->setSelected(id);
        });
        tabs->setProviders({claude, cursor, codex});
        tabs->setSelected(claude);
        host = std::make_unique<Host>(*tabs);
    }
    void TearDown() override {
        host.reset();
        tabs.reset();
    }
    double tabX(ProviderID id) {
        double x = 0, y = 0;
        tabs->tab(id)->translate_coordinates(*tabs, 0, 0, x, y);
        return x;
    }
    static bool isSelected(Gtk::Widget& w) {
        auto* accessible = GTK_ACCESSIBLE(w.gobj());
        GCharPtr mismatch(gtk_test_accessible_check_state(accessible, GTK_ACCESSIBLE_STATE_SELECTED, TRUE));
        return gtk_test_accessible_has_state(accessible, GTK_ACCESSIBLE_STATE_SELECTED) && !mismatch;
    }

    std::unique_ptr<ProviderTabs> tabs;
    std::unique_ptr<Host> host;
    std::vector<ProviderID> picked;
};

} // namespace

TEST_F(ProviderTabsTest, OnlyTheSelectedTabIsMarkedSelected) {
    for (ProviderID id : allProviders)
        EXPECT_EQ(isSelected(*tabs->tab(id)), id == claude) << displayName(id);
    press(*tabs->tab(codex));
    EXPECT_EQ(picked, std::vector<ProviderID>{codex});
    EXPECT_TRUE(isSelected(*tabs->tab(codex)));
    EXPECT_FALSE(isSelected(*tabs->tab(claude)));
}

TEST_F(ProviderTabsTest, TheHighlightSlidesToTheNewTabUnlessMotionIsOff) {
    const double claudeX = tabX(claude);
    const double codexX = tabX(codex);
    EXPECT_DOUBLE_EQ(tabs->highlightNow().x, claudeX);
    EXPECT_DOUBLE_EQ(tabs->highlightNow().width, tabs->tab(claude)->get_width());

    press(*tabs->tab(codex));
    EXPECT_TRUE(tabs->animating());
    // Part-way: somewhere between the two tabs, not yet there.
    ASSERT_TRUE(runLoopUntil([&] { return tabs->highlightNow().x > claudeX + 5; }, 1s));
    EXPECT_LT(tabs->highlightNow().x, codexX - 1);

    ASSERT_TRUE(runLoopUntil([&] { return !tabs->animating(); }, 2s));
    EXPECT_DOUBLE_EQ(tabs->highlightNow().x, codexX);
    EXPECT_DOUBLE_EQ(tabs->highlightNow().width, tabs->tab(codex)->get_width());

    setAnimations(false); // the desktop asks for no motion: it jumps
    press(*tabs->tab(cursor));
    EXPECT_FALSE(tabs->animating());
    EXPECT_DOUBLE_EQ(tabs->highlightNow().x, tabX(cursor));
    setAnimations(true);
}
