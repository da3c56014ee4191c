#pragma once
// The feedback screen: a message, an optional e-mail address and "Send"; then a thank-you with
// "Send another", or the failure under the still-filled form.

#include "async/task.h"
#include "async/task_group.h"
#include "ui/support/screen_box.h"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/entry.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/spinner.h>
#include <gtkmm/textview.h>
#include <string>

namespace ostrel {

class FeedbackView : public ScreenBox {
  public:
    struct Status {
        enum class Kind { idle, sending, sent, failed };
        Kind kind = Kind::idle;
        std::string description; // what went wrong, for `failed`

        bool operator==(const Status&) const = default;
    };

    // `endpoint`: where the form is posted, the feedback service's "/api/feedback".
    explicit FeedbackView(std::string endpoint);

    const Status& status() const { return status_; }
    const std::string& message() const { return message_; }
    const std::string& email() const { return email_; }

  private:
    void send();
    void sendAnother();
    void setStatus(Status status);
    void refresh();
    // Runs the request and shows its outcome; ended with the view if the screen is left first.
    Task<void> deliver(std::string message, std::string email);

    std::string endpoint_;
    std::string message_;
    std::string email_;
    Status status_;

    Gtk::Box form_{Gtk::Orientation::VERTICAL, 10};
    Gtk::Label intro_;
    Gtk::Box editorBox_;
    Gtk::ScrolledWindow editorScroller_;
    Gtk::TextView editor_;
    Gtk::Box emailBox_;
    Gtk::Entry emailField_;
    Gtk::Label failure_;
    Gtk::Button sendButton_;
    Gtk::Box sendContent_;
    Gtk::Label sendLabel_;
    Gtk::Spinner spinner_;

    Gtk::Box sentConfirmation_{Gtk::Orientation::VERTICAL, 10};
    Gtk::Box doneMark_;
    Gtk::Image checkmark_;
    Gtk::Label thanks_;
    Gtk::Button sendAnother_;

    TaskGroup tasks_; // last, so the request ends before any widget goes
};

} // namespace ostrel
