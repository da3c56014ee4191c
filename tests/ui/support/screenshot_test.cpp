// Pictures of the three screens at the panel's width, for review, under OSTREL_BUILD_DIR
// "/screenshots/support/". The payment screen's picture must still scan.

#include "async/loop.h"
#include "fake_feedback.h"
#include "gtk_harness.h"
#include "qr_decode.h"
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

    // Saves the hosted screen and checks it kept to the panel's width.
    void save(test::PanelHost& host, const std::string& name) {
        const auto [w, h] = host.saveScreenshot(test::screenshotPath(name));
        EXPECT_EQ(w, test::panelWidth) << name << " is wider than the panel";
        EXPECT_GT(h, 100) << name;
    }
};

} // namespace

TEST_F(Screenshots, Feedback) {
    fake::FakeFeedback service;
    g_setenv("OSTREL_FEEDBACK_URL", service.origin().c_str(), TRUE);
    FeedbackView view;
    test::PanelHost host(view);
    save(host, "feedback.png");

    test::named<Gtk::TextView>(view, "message")
        .get_buffer()
        ->set_text("The meter gauge flickers on my laptop.");
    test::named<Gtk::Entry>(view, "email").set_text("dev@example.com");
    service.setAnswer(fake::FakeAnswer::json(R"({"error":"Feedback is closed for maintenance."})", 503));
    test::press(test::named<Gtk::Button>(view, "send"));
    ASSERT_TRUE(runLoopUntil([&] { return view.status().kind == FeedbackView::Status::Kind::failed; }, 10s));
    save(host, "feedback-failed.png");

    service.setAnswer(fake::FakeAnswer::json("{}", 201));
    test::press(test::named<Gtk::Button>(view, "send"));
    ASSERT_TRUE(runLoopUntil([&] { return view.status().kind == FeedbackView::Status::Kind::sent; }, 10s));
    save(host, "feedback-sent.png");
    g_unsetenv("OSTREL_FEEDBACK_URL");
}

TEST_F(Screenshots, SupportAmount) {
    SupportAmountView view([](double) {});
    test::PanelHost host(view);
    save(host, "support-amount.png");
}

TEST_F(Screenshots, PaymentQrScansBackToTheLink) {
    SupportQRView view(250);
    test::PanelHost host(view);
    const std::string path = test::screenshotPath("support-qr.png");
    save(host, "support-qr.png");
    EXPECT_EQ(test::decodeQr(path), UPI::paymentLink(250));
}
