// What a screen reader hears: every control on every screen of the panel has a name, switches are
// named by their row, the gauge is a meter with its value, the chart has a summary, and the arrow
// keys move between the service tabs.

#include "model/fmt.h"
#include "model/usage_history.h"
#include "panel_harness.h"
#include "support/loop.h"
#include "ui/panel/panel_window.h"
#include "ui/panel/provider_tabs.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <gtkmm/dropdown.h>
#include <gtkmm/switch.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using enum ProviderID;

namespace {

bool isControl(GtkAccessibleRole role) {
    switch (role) {
    case GTK_ACCESSIBLE_ROLE_BUTTON:
    case GTK_ACCESSIBLE_ROLE_CHECKBOX:
    case GTK_ACCESSIBLE_ROLE_COMBO_BOX:
    case GTK_ACCESSIBLE_ROLE_LINK:
    case GTK_ACCESSIBLE_ROLE_METER:
    case GTK_ACCESSIBLE_ROLE_PROGRESS_BAR:
    case GTK_ACCESSIBLE_ROLE_RADIO:
    case GTK_ACCESSIBLE_ROLE_SEARCH_BOX:
    case GTK_ACCESSIBLE_ROLE_SLIDER:
    case GTK_ACCESSIBLE_ROLE_SPIN_BUTTON:
    case GTK_ACCESSIBLE_ROLE_SWITCH:
    case GTK_ACCESSIBLE_ROLE_TAB:
    case GTK_ACCESSIBLE_ROLE_TEXT_BOX:
        return true;
    default:
        return false;
    }
}

GtkAccessible* accessible(Gtk::Widget& w) {
    return GTK_ACCESSIBLE(w.gobj());
}

bool hasName(Gtk::Widget& w) {
    return gtk_test_accessible_has_property(accessible(w), GTK_ACCESSIBLE_PROPERTY_LABEL) ||
           gtk_test_accessible_has_relation(accessible(w), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
}

// Shown controls without a name, described by their widget name and type. A control's own insides
// (a drop-down's button, a switch's knob) are read as part of it, so the walk does not enter one.
void unnamedControls(Gtk::Widget& w, std::vector<std::string>& out) {
    if (!w.get_visible() || !w.get_child_visible()) return;
    const GtkAccessibleRole role = gtk_accessible_get_accessible_role(accessible(w));
    if (isControl(role)) {
        if (!hasName(w)) out.push_back(std::string(w.get_name()) + " (" + G_OBJECT_TYPE_NAME(w.gobj()) + ")");
        return;
    }
    for (auto* child = w.get_first_child(); child; child = child->get_next_sibling())
        unnamedControls(*child, out);
}

class AccessibilityTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startGtk()) << "no display";
        setAnimations(false);
        for (auto& [id, p] : m.scripted)
            p->then(PanelModel::snapshot(m.limit("session", 29, 2h), {m.limit("weekly", 60, 72h)}));
        history = std::make_unique<UsageHistory>(*m.model, m.dir.file("history.sqlite"));
        m.model->setHistory(history.get());
        window = std::make_unique<PanelWindow>(*m.model, "");
        window->setHidesOnFocusLoss(false);
        window->popup();
        drain();
        settle();
    }
    void TearDown() override {
        window.reset();
        m.model->setHistory(nullptr);
        setAnimations(true);
    }
    PanelView& view() { return window->view(); }
    std::vector<std::string> unnamedOnScreen() {
        std::vector<std::string> out;
        unnamedControls(view(), out);
        return out;
    }

    PanelModel m;
    std::unique_ptr<UsageHistory> history;
    std::unique_ptr<PanelWindow> window;
};

} // namespace

TEST_F(AccessibilityTest, EveryControlOnEveryScreenHasAName) {
    for (PanelScreen screen : {PanelScreen::main, PanelScreen::settings, PanelScreen::theme,
                               PanelScreen::support, PanelScreen::supportQR, PanelScreen::feedback}) {
        view().setScreen(screen);
        settle();
        const auto unnamed = unnamedOnScreen();
        EXPECT_TRUE(unnamed.empty()) << "screen " << screenTitle(screen) << ": "
                                     << ::testing::PrintToString(unnamed);
    }
    // The other pictures of the main screen: the login prompt and a failed first refresh.
    m.fail(cursor, ProviderError::needsLogin());
    m.model->settings().setSelectedProvider("cursor");
    view().setScreen(PanelScreen::main);
    settle();
    EXPECT_TRUE(unnamedOnScreen().empty()) << ::testing::PrintToString(unnamedOnScreen());
}

TEST_F(AccessibilityTest, SwitchesAreNamedByTheirRowTheGaugeIsAMeterAndArrowsMoveBetweenTabs) {
    view().setScreen(PanelScreen::settings);
    settle();
    // A switch's name is its row's visible text, so the two cannot drift apart.
    for (Gtk::Widget* control : all<Gtk::Switch>(view().body()))
        EXPECT_TRUE(
            gtk_test_accessible_has_relation(accessible(*control), GTK_ACCESSIBLE_RELATION_LABELLED_BY))
            << control->get_name();
    for (Gtk::Widget* control : all<Gtk::DropDown>(view().body()))
        EXPECT_TRUE(
            gtk_test_accessible_has_relation(accessible(*control), GTK_ACCESSIBLE_RELATION_LABELLED_BY));

    view().setScreen(PanelScreen::main);
    settle();
    auto& gauge = named<Gtk::Widget>(view().body(), "gauge");
    ASSERT_TRUE(shown(gauge));
    EXPECT_EQ(gtk_accessible_get_accessible_role(accessible(gauge)), GTK_ACCESSIBLE_ROLE_METER);
    const auto checks = [&](GtkAccessibleProperty property, auto value) {
        return !GCharPtr(gtk_test_accessible_check_property(accessible(gauge), property, value));
    };
    EXPECT_TRUE(checks(GTK_ACCESSIBLE_PROPERTY_VALUE_MIN, 0.0));
    EXPECT_TRUE(checks(GTK_ACCESSIBLE_PROPERTY_VALUE_MAX, 100.0));
    EXPECT_TRUE(checks(GTK_ACCESSIBLE_PROPERTY_VALUE_NOW, 71.0));
    const std::string heard =
        "71% left, resets in " +
        Fmt::duration(*m.model->state(claude).snapshot->main->resetsAt, m.model->now(), false);
    EXPECT_TRUE(checks(GTK_ACCESSIBLE_PROPERTY_VALUE_TEXT, heard.c_str())) << heard;

    // Right and Left walk the tab row, round at its ends, and the panel follows.
    auto& tabs = *all<ProviderTabs>(view()).at(0);
    GtkEventController* keys = nullptr; // owned by the tab row
    GObjectPtr<GListModel> controllers = adopt(gtk_widget_observe_controllers(GTK_WIDGET(tabs.gobj())));
    for (guint i = 0; i < g_list_model_get_n_items(controllers.get()); ++i) {
        GObjectPtr<GObject> controller = adopt(G_OBJECT(g_list_model_get_item(controllers.get(), i)));
        if (GTK_IS_EVENT_CONTROLLER_KEY(controller.get())) keys = GTK_EVENT_CONTROLLER(controller.get());
    }
    ASSERT_TRUE(keys);
    const auto press = [&](guint key) {
        gboolean handled = FALSE;
        g_signal_emit_by_name(keys, "key-pressed", key, 0u, GdkModifierType(0), &handled);
        settle();
        return handled;
    };
    std::vector<std::optional<ProviderID>> shownPanels;
    for (guint key : {GDK_KEY_Right, GDK_KEY_Right, GDK_KEY_Right, GDK_KEY_Left}) {
        EXPECT_TRUE(press(key));
        shownPanels.push_back(view().selected());
    }
    EXPECT_EQ(shownPanels, (std::vector<std::optional<ProviderID>>{cursor, codex, claude, codex}));
    EXPECT_FALSE(press(GDK_KEY_Down)) << "other keys pass";
}
