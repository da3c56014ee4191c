#pragma once
// The payment screen: the UPI link for the amount as a QR code, who gets paid, and the payee's UPI
// address with a copy button.

#include "async/task.h"
#include "async/task_group.h"
#include "ui/support/screen_box.h"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>

namespace ostrel {

class SupportQRView : public ScreenBox {
  public:
    explicit SupportQRView(double amount);
    SupportQRView(const SupportQRView&) = delete;
    SupportQRView& operator=(const SupportQRView&) = delete;

    // The payee address was copied less than 2 seconds ago.
    bool copied() const { return copied_; }

  private:
    void copyAddress();
    void setCopied(bool copied);
    // Clears the checkmark 2 seconds after a copy.
    Task<void> clearCopiedLater();

    double amount_;
    bool copied_ = false;

    Gtk::Box qrTile_;
    Gtk::Label payLine_;
    Gtk::Button copyButton_;
    Gtk::Box copyContent_{Gtk::Orientation::HORIZONTAL, 6};
    Gtk::Label address_;
    Gtk::Image copySymbol_;
    Gtk::Label hint_;

    TaskGroup tasks_; // last, so a pending clear ends before any widget goes
};

} // namespace ostrel
