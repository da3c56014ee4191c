// The feedback screen under a real display, sending to the loopback fake feedback service.

#include "async/loop.h"
#include "fake_feedback.h"
#include "panel_harness.h"
#include "support/loop.h"
#include "ui/support/feedback_view.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <gtkmm/button.h>
#include <gtkmm/entry.h>
#include <gtkmm/label.h>
#include <gtkmm/textview.h>
#include <nlohmann/json.hpp>
#include <ostream>

using namespace ostrel;
using namespace std::chrono_literals;
using Kind = FeedbackView::Status::Kind;

namespace ostrel {
void PrintTo(const FeedbackView::Status& s, std::ostream* os) {
    constexpr const char* names[] = {"idle", "sending", "sent", "failed"};
    *os << names[static_cast<int>(s.kind)] << (s.description.empty() ? "" : "(" + s.description + ")");
}
} // namespace ostrel

namespace {

class FeedbackViewTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(test::startGtk()) << "no display";
        view = std::make_unique<FeedbackView>(service.origin() + "/api/feedback");
        host = std::make_unique<test::Host>(*view);
    }
    void TearDown() override {
        host.reset();
        view.reset();
    }

    void type(const std::string& message, const std::string& email = "") {
        test::named<Gtk::TextView>(*view, "message").get_buffer()->set_text(message);
        test::named<Gtk::Entry>(*view, "email").set_text(email);
    }
    Gtk::Button& sendButton() { return test::named<Gtk::Button>(*view, "send"); }
    bool waitWhileSending() {
        return runLoopUntil([&] { return view->status().kind != Kind::sending; }, 10s);
    }

    fake::FakeFeedback service;
    std::unique_ptr<FeedbackView> view;
    std::unique_ptr<test::Host> host;
};

} // namespace

TEST_F(FeedbackViewTest, SendNeedsSomethingBesidesBlanks) {
    EXPECT_FALSE(sendButton().get_sensitive());
    type(" \n\t \n", "me@example.com");
    EXPECT_FALSE(sendButton().get_sensitive());
    test::press(sendButton());
    EXPECT_EQ(view->status(), (FeedbackView::Status{Kind::idle, ""}));
    type(" \n x \n");
    EXPECT_TRUE(sendButton().get_sensitive());
}

TEST_F(FeedbackViewTest, SendsAsTypedThenThanksThenStartsAfresh) {
    fake::FakeAnswer slow = fake::FakeAnswer::json("{}", 201);
    slow.delay = 300ms;
    service.setAnswer(slow);
    type(" \n x \n");
    test::press(sendButton());
    EXPECT_EQ(view->status(), (FeedbackView::Status{Kind::sending, ""}));
    EXPECT_FALSE(sendButton().get_sensitive()) << "a second send while one is in flight";

    ASSERT_TRUE(waitWhileSending());
    EXPECT_EQ(view->status(), (FeedbackView::Status{Kind::sent, ""}));
    ASSERT_EQ(service.received().size(), 1u);
    EXPECT_EQ(nlohmann::json::parse(service.received()[0].body),
              (nlohmann::json{{"message", " \n x \n"}, {"email", ""}}));
    host->settle();
    EXPECT_TRUE(test::findNamed(*view, "sent")->get_visible());
    EXPECT_FALSE(sendButton().is_drawable());

    test::press(test::named<Gtk::Button>(*view, "send-another"));
    EXPECT_EQ(view->status(), (FeedbackView::Status{Kind::idle, ""}));
    EXPECT_EQ(view->message(), "");
    EXPECT_EQ(view->email(), "");
    EXPECT_EQ(test::named<Gtk::TextView>(*view, "message").get_buffer()->get_text().raw(), "");
    EXPECT_FALSE(test::findNamed(*view, "sent")->get_visible());
    EXPECT_FALSE(sendButton().get_sensitive());
}

TEST_F(FeedbackViewTest, FailureKeepsTheFormAndAllowsAnotherTry) {
    service.setAnswer(fake::FakeAnswer::json(R"({"error":"Please slow down."})", 429));
    type("It crashed", "me@example.com");
    test::press(sendButton());
    ASSERT_TRUE(waitWhileSending());
    EXPECT_EQ(view->status(), (FeedbackView::Status{Kind::failed, "Please slow down."}));
    auto& failure = test::named<Gtk::Label>(*view, "failure");
    EXPECT_TRUE(failure.get_visible());
    EXPECT_EQ(failure.get_text().raw(), "Please slow down.");
    EXPECT_EQ(view->message(), "It crashed");
    EXPECT_TRUE(sendButton().get_sensitive());

    service.setAnswer(fake::FakeAnswer::json("{}", 200));
    test::press(sendButton());
    ASSERT_TRUE(waitWhileSending());
    EXPECT_EQ(view->status(), (FeedbackView::Status{Kind::sent, ""}));
    EXPECT_EQ(service.received().size(), 2u);
}
