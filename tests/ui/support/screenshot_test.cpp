// Pictures of the three screens at the panel's width, for review, under OSTREL_BUILD_DIR
// "/screenshots/support/". The payment screen's picture must still scan.

#include "async/loop.h"
#include "fake_feedback.h"
#include "panel_harness.h"
#include "qr_decode.h"
#include "support/loop.h"
#include "support/screenshot.h"
#include "ui/panel/panel_view.h"
#include "ui/support/feedback_view.h"
#include "ui/support/support_amount_view.h"
#include "ui/support/support_qr_view.h"
#include "ui/support/upi_link.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <gtkmm/button.h>
#include <gtkmm/entry.h>
#include <gtkmm/textview.h>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

class Screenshots : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(test::startGtk()) << "no display"; }

    // Saves the window holding the screen on the panel's card and checks it kept to the panel's
    // width; the picture's path.
    std::string save(test::Host& host, const std::string& name) {
        host.settle();
        Gtk::Window& window = host.window();
        EXPECT_EQ(window.get_width(), PanelView::width) << name << " is wider than the panel";
        EXPECT_GT(window.get_height(), 100) << name;
        const std::string path = test::saveScreenshot(GTK_WIDGET(window.gobj()), "support/" + name);
        EXPECT_FALSE(path.empty()) << name;
        return path;
    }
};

} // namespace

TEST_F(Screenshots, Feedback) {
    fake::FakeFeedback service;
    FeedbackView view(service.origin() + "/api/feedback");
    test::Host host(view);
    save(host, "feedback");

    test::named<Gtk::TextView>(view, "message")
        .get_buffer()
        ->set_text("The meter gauge flickers on my laptop.");
    test::named<Gtk::Entry>(view, "email").set_text("dev@example.com");
    service.setAnswer(fake::FakeAnswer::json(R"({"error":"Feedback is closed for maintenance."})", 503));
    test::press(test::named<Gtk::Button>(view, "send"));
    ASSERT_TRUE(runLoopUntil([&] { return view.status().kind == FeedbackView::Status::Kind::failed; }, 10s));
    save(host, "feedback-failed");

    service.setAnswer(fake::FakeAnswer::json("{}", 201));
    test::press(test::named<Gtk::Button>(view, "send"));
    ASSERT_TRUE(runLoopUntil([&] { return view.status().kind == FeedbackView::Status::Kind::sent; }, 10s));
    save(host, "feedback-sent");
}

TEST_F(Screenshots, SupportAmount) {
    SupportAmountView view([](double) {});
    test::Host host(view);
    save(host, "support-amount");
}

TEST_F(Screenshots, PaymentQrScansBackToTheLink) {
    SupportQRView view(250);
    test::Host host(view);
    const std::string path = save(host, "support-qr");
    EXPECT_EQ(test::decodeQr(path), UPI::paymentLink(250));
}
