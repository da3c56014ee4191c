// The support amount and payment screens under a real display.

#include "async/loop.h"
#include "panel_harness.h"
#include "support/loop.h"
#include "ui/support/support_amount_view.h"
#include "ui/support/support_qr_view.h"
#include "ui/support/upi_link.h"

#include <gdkmm/clipboard.h>
#include <gtest/gtest.h>
#include <gtkmm/button.h>
#include <gtkmm/entry.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <optional>
#include <vector>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

class SupportAmountViewTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(test::startGtk()) << "no display";
        view = std::make_unique<SupportAmountView>([this](double v) { sent.push_back(v); });
        host = std::make_unique<test::Host>(*view);
    }
    void TearDown() override {
        host.reset();
        view.reset();
    }
    void type(const std::string& text) { test::named<Gtk::Entry>(*view, "amount").set_text(text); }
    Gtk::Button& send() { return test::named<Gtk::Button>(*view, "send"); }
    std::vector<int> selectedPresets() {
        std::vector<int> out;
        for (int p : {50, 100, 250, 500})
            if (test::findNamed(*view, "preset-" + std::to_string(p))->has_css_class("selected"))
                out.push_back(p);
        return out;
    }

    std::vector<double> sent;
    std::unique_ptr<SupportAmountView> view;
    std::unique_ptr<test::Host> host;
};

} // namespace

TEST_F(SupportAmountViewTest, StartsAt100WithThatPresetAndSendEnabled) {
    EXPECT_EQ(test::named<Gtk::Entry>(*view, "amount").get_text().raw(), "100");
    EXPECT_EQ(selectedPresets(), std::vector<int>{100});
    EXPECT_TRUE(send().get_sensitive());
}

// Which texts are sendable is the amount rules' business; here, that the button follows them.
TEST_F(SupportAmountViewTest, SendFollowsTheTypedText) {
    for (const char* text : {"", "abc", "100001"}) {
        type(text);
        EXPECT_FALSE(send().get_sensitive()) << '"' << text << '"';
        test::press(send());
    }
    EXPECT_TRUE(sent.empty()) << "a disabled Send must not hand on an amount";

    type("100.0");
    EXPECT_TRUE(send().get_sensitive());
    EXPECT_TRUE(selectedPresets().empty()) << "100.0 is not the digits of a preset";
    type("250");
    EXPECT_EQ(selectedPresets(), std::vector<int>{250});
    type("0.5");
    test::press(send());
    EXPECT_EQ(sent, std::vector<double>{0.5});
}

TEST_F(SupportAmountViewTest, PresetFillsTheFieldAndSendsItsAmount) {
    test::press(test::named<Gtk::Button>(*view, "preset-500"));
    EXPECT_EQ(test::named<Gtk::Entry>(*view, "amount").get_text().raw(), "500");
    EXPECT_EQ(view->amountText(), "500");
    EXPECT_EQ(selectedPresets(), std::vector<int>{500});
    test::press(send());
    EXPECT_EQ(sent, std::vector<double>{500});
}

namespace {

std::optional<std::string> clipboardText(Gtk::Widget& w) {
    auto clipboard = w.get_clipboard();
    std::optional<std::string> text;
    bool done = false;
    clipboard->read_text_async([&](Glib::RefPtr<Gio::AsyncResult>& result) {
        try {
            text = clipboard->read_text_finish(result);
        } catch (const Glib::Error&) {
        }
        done = true;
    });
    runLoopUntil([&] { return done; }, 5s);
    return text;
}

} // namespace

TEST(SupportQRView, ShowsTheCodeAndWholeRupeesToThePayee) {
    ASSERT_TRUE(test::startGtk()) << "no display";
    SupportQRView view(12.75);
    test::Host host(view);
    EXPECT_NE(test::findNamed(view, "qr-code"), nullptr);
    EXPECT_EQ(test::named<Gtk::Label>(view, "pay-line").get_text().raw(),
              "₹12 to " + std::string(UPI::payee().name));
}

TEST(SupportQRView, CopyPutsTheAddressOnTheClipboardAndShowsACheckForTwoSeconds) {
    ASSERT_TRUE(test::startGtk()) << "no display";
    SupportQRView view(100);
    test::Host host(view);
    auto& symbol = test::named<Gtk::Image>(view, "copy-symbol");
    EXPECT_EQ(symbol.get_icon_name().raw(), "edit-copy-symbolic");

    test::named<Gtk::Button>(view, "copy").get_clipboard()->set_text("something else");
    test::press(test::named<Gtk::Button>(view, "copy"));
    EXPECT_TRUE(view.copied());
    EXPECT_EQ(symbol.get_icon_name().raw(), "object-select-symbolic");
    EXPECT_EQ(clipboardText(view), std::string(UPI::payee().address));

    test::pump(1500ms);
    EXPECT_TRUE(view.copied());
    runLoopUntil([&] { return !view.copied(); }, 2s);
    EXPECT_FALSE(view.copied());
    EXPECT_EQ(symbol.get_icon_name().raw(), "edit-copy-symbolic");
}
