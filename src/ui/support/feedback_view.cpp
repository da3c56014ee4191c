#include "ui/support/feedback_view.h"

#include "ui/common/a11y.h"
#include "ui/support/feedback_api.h"
#include "ui/support/feedback_text.h"
#include "ui/support/support_style.h"

#include <exception>

namespace ostrel {

FeedbackView::FeedbackView(std::string endpoint)
    : Glib::ObjectBase("OstrelFeedbackView"), endpoint_(std::move(endpoint)) {
    SupportStyle::apply(*this);

    intro_.set_text("Bug, idea, or just a thought \u2014 I read all of these.");
    intro_.add_css_class("callout");
    intro_.add_css_class("dim-label");
    intro_.set_wrap(true);
    intro_.set_max_width_chars(30); // natural width stays small; the label takes the column's width
    intro_.set_xalign(0);
    form_.append(intro_);

    editor_.set_name("message");
    A11y::setName(editor_, "Message");
    editor_.add_css_class("callout");
    editor_.set_wrap_mode(Gtk::WrapMode::WORD_CHAR);
    editor_.get_buffer()->signal_changed().connect([this] {
        message_ = editor_.get_buffer()->get_text();
        refresh();
    });
    editorScroller_.set_child(editor_);
    editorScroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    editorScroller_.set_size_request(-1, 90 - 2 * 6); // 90 high including the 6-point inset
    editorScroller_.set_hexpand(true);
    editorBox_.add_css_class("editor-box");
    editorBox_.append(editorScroller_);
    form_.append(editorBox_);

    emailField_.set_name("email");
    emailField_.add_css_class("bare");
    emailField_.add_css_class("callout"); // like the message, and the placeholder fits the panel
    emailField_.set_has_frame(false);
    emailField_.set_hexpand(true);
    emailField_.set_placeholder_text("Your email (optional, if you want a reply)");
    A11y::setName(emailField_, "Your email (optional, if you want a reply)");
    emailField_.signal_changed().connect([this] { email_ = emailField_.get_text(); });
    emailBox_.add_css_class("field");
    emailBox_.append(emailField_);
    form_.append(emailBox_);

    failure_.set_name("failure");
    failure_.add_css_class("caption");
    failure_.add_css_class("failure");
    failure_.set_wrap(true);
    failure_.set_max_width_chars(30);
    failure_.set_xalign(0);
    form_.append(failure_);

    sendLabel_.set_text("Send");
    spinner_.set_size_request(16, 16);
    sendContent_.set_halign(Gtk::Align::CENTER);
    sendContent_.append(sendLabel_);
    sendContent_.append(spinner_);
    sendButton_.set_name("send");
    A11y::setName(sendButton_, "Send");
    sendButton_.set_child(sendContent_);
    sendButton_.add_css_class("suggested-action");
    sendButton_.add_css_class("large");
    sendButton_.set_hexpand(true);
    sendButton_.signal_clicked().connect([this] { send(); });
    form_.append(sendButton_);
    append(form_);

    // A white check on a filled green disc; the icon theme has no such symbol of its own.
    checkmark_.set_from_icon_name("object-select-symbolic");
    checkmark_.set_pixel_size(18);
    checkmark_.set_hexpand(true);
    checkmark_.set_vexpand(true);
    doneMark_.add_css_class("done-mark");
    doneMark_.set_size_request(32, 32);
    doneMark_.set_halign(Gtk::Align::CENTER);
    doneMark_.set_margin_top(20);
    doneMark_.append(checkmark_);
    thanks_.set_text("Thanks \u2014 feedback sent.");
    thanks_.add_css_class("done-title");
    sendAnother_.set_name("send-another");
    sendAnother_.set_label("Send another");
    sendAnother_.add_css_class("link");
    sendAnother_.set_halign(Gtk::Align::CENTER);
    sendAnother_.set_margin_bottom(20);
    sendAnother_.signal_clicked().connect([this] { sendAnother(); });
    sentConfirmation_.set_name("sent");
    sentConfirmation_.set_hexpand(true);
    sentConfirmation_.append(doneMark_);
    sentConfirmation_.append(thanks_);
    sentConfirmation_.append(sendAnother_);
    append(sentConfirmation_);

    refresh();
}

void FeedbackView::send() {
    if (!sendButton_.get_sensitive()) return;
    setStatus({Status::Kind::sending, {}});
    tasks_.spawn(deliver(message_, email_));
}

Task<void> FeedbackView::deliver(std::string message, std::string email) {
    Status outcome{Status::Kind::sent, {}};
    try {
        co_await FeedbackAPI::send(endpoint_, std::move(message), std::move(email));
    } catch (const std::exception& e) {
        outcome = {Status::Kind::failed, e.what()};
    }
    setStatus(std::move(outcome));
}

void FeedbackView::sendAnother() {
    // Clearing the widgets updates the fields through their change handlers.
    editor_.get_buffer()->set_text("");
    emailField_.set_text("");
    setStatus({Status::Kind::idle, {}});
}

void FeedbackView::setStatus(Status status) {
    status_ = std::move(status);
    refresh();
}

void FeedbackView::refresh() {
    const bool sending = status_.kind == Status::Kind::sending;
    const bool sent = status_.kind == Status::Kind::sent;
    form_.set_visible(!sent);
    sentConfirmation_.set_visible(sent);
    failure_.set_visible(status_.kind == Status::Kind::failed);
    failure_.set_text(status_.description);
    sendLabel_.set_visible(!sending);
    spinner_.set_visible(sending);
    spinner_.set_spinning(sending);
    sendButton_.set_sensitive(!sending && FeedbackText::hasContent(message_));
}

} // namespace ostrel
