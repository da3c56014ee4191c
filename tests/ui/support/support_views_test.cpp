// The feedback, support amount and payment screens under a real display; feedback goes to the
// loopback fake feedback service.

#include "fake_feedback.h"
#include "panel_harness.h"
#include "support/loop.h"
#include "ui/support/feedback_view.h"
#include "ui/support/support_amount_view.h"
#include "ui/support/support_qr_view.h"
#include "ui/support/upi_link.h"

#include <gdkmm/clipboard.h>
#include <gtest/gtest.h>
#include <gtkmm/entry.h>
#include <gtkmm/image.h>
#include <gtkmm/textview.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using Kind = FeedbackView::Status::Kind;

TEST(FeedbackView, SendsAsTypedKeepsTheFormOnFailureThenThanksAndStartsAfresh) {
    ASSERT_TRUE(startGtk()) << "no display";
    fake::FakeFeedback service;
    FeedbackView view(service.origin() + "/api/feedback");
    Host host(view);
    auto& message = named<Gtk::TextView>(view, "message");
    auto& send = named<Gtk::Button>(view, "send");
    EXPECT_FALSE(send.get_sensitive());
    named<Gtk::Entry>(view, "email").set_text("me@example.com");
    message.get_buffer()->set_text(" \n\t \n");
    EXPECT_FALSE(send.get_sensitive()) << "blanks are no message";
    message.get_buffer()->set_text(" \n x \n");
    service.setAnswer(fake::FakeAnswer::json(R"({"error":"Please slow down."})", 429));
    press(send);
    ASSERT_TRUE(runLoopUntil([&] { return view.status().kind != Kind::sending; }, 10s));
    EXPECT_TRUE(showsText(view, "Please slow down."));
    EXPECT_EQ(view.message(), " \n x \n");

    fake::FakeAnswer slow = fake::FakeAnswer::json("{}", 200);
    slow.delay = 300ms;
    service.setAnswer(slow);
    press(send);
    EXPECT_EQ(view.status().kind, Kind::sending);
    EXPECT_FALSE(send.get_sensitive()) << "a second send while one is in flight";
    ASSERT_TRUE(runLoopUntil([&] { return view.status().kind != Kind::sending; }, 10s));
    ASSERT_EQ(service.received().size(), 2u);
    EXPECT_EQ(nlohmann::json::parse(service.received()[1].body)["message"], " \n x \n");
    settle();
    EXPECT_TRUE(findNamed(view, "sent")->get_visible());
    EXPECT_FALSE(send.is_drawable());

    press(named<Gtk::Button>(view, "send-another"));
    EXPECT_EQ(view.email(), "");
    EXPECT_EQ(message.get_buffer()->get_text().raw(), "");
    EXPECT_FALSE(findNamed(view, "sent")->get_visible());
}

// Which texts are sendable is the amount rules' business; here, that the button and presets follow.
TEST(SupportAmountView, SendAndPresetsFollowTheTypedText) {
    ASSERT_TRUE(startGtk()) << "no display";
    SupportAmountView view([](double) {});
    Host host(view);
    auto& field = named<Gtk::Entry>(view, "amount");
    auto& send = named<Gtk::Button>(view, "send");
    auto selected = [&] {
        std::vector<int> out;
        for (int p : {50, 100, 250, 500})
            if (findNamed(view, "preset-" + std::to_string(p))->has_css_class("selected")) out.push_back(p);
        return out;
    };
    EXPECT_EQ(selected(), std::vector<int>{100}) << "the amount starts at that preset";
    field.set_text("100001");
    EXPECT_FALSE(send.get_sensitive());
    field.set_text("100.0");
    EXPECT_TRUE(send.get_sensitive());
    EXPECT_TRUE(selected().empty()) << "100.0 is not the digits of a preset";
}

TEST(SupportQRView, ShowsWholeRupeesAndCopiesTheAddressWithACheckForTwoSeconds) {
    ASSERT_TRUE(startGtk()) << "no display";
    SupportQRView view(12.75);
    Host host(view);
    EXPECT_EQ(named<Gtk::Label>(view, "pay-line").get_text().raw(),
              "₹12 to " + std::string(UPI::payee().name));

    auto clipboard = view.get_clipboard();
    clipboard->set_text("something else");
    press(named<Gtk::Button>(view, "copy"));
    EXPECT_EQ(named<Gtk::Image>(view, "copy-symbol").get_icon_name().raw(), "object-select-symbolic");
    Glib::Value<Glib::ustring> text; // what a paste gets
    text.init(text.value_type());
    clipboard->get_content()->get_value(text);
    EXPECT_EQ(text.get().raw(), std::string(UPI::payee().address));

    pump(1500ms);
    EXPECT_TRUE(view.copied());
    EXPECT_TRUE(runLoopUntil([&] { return !view.copied(); }, 2s));
}
