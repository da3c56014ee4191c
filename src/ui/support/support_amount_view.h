#pragma once
// The support screen: a coffee, a line of thanks, preset amounts, an amount field and "Send".

#include "ui/common/artwork_image.h"
#include "ui/support/screen_box.h"

#include <array>
#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/entry.h>
#include <gtkmm/label.h>
#include <string>

namespace ostrel {

class SupportAmountView : public ScreenBox {
  public:
    // `onSend` receives the amount in rupees when "Send" is pressed with a sendable amount.
    explicit SupportAmountView(std::function<void(double)> onSend);

    const std::string& amountText() const { return amountText_; }

  private:
    void setAmountText(const std::string& text);
    void refresh();
    void send();

    std::function<void(double)> onSend_;
    std::string amountText_;

    Gtk::Box coffeeTile_;
    ArtworkImage coffee_;
    Gtk::Label thanks_;
    Gtk::Box presetRow_{Gtk::Orientation::HORIZONTAL, 8};
    std::array<Gtk::Button, 4> presetButtons_;
    Gtk::Box field_{Gtk::Orientation::HORIZONTAL, 4};
    Gtk::Label rupee_;
    Gtk::Entry amountField_;
    Gtk::Button sendButton_;
};

} // namespace ostrel
