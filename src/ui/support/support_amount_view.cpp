#include "ui/support/support_amount_view.h"

#include "ui/common/a11y.h"
#include "ui/support/support_amount.h"
#include "ui/support/support_style.h"

namespace ostrel {

SupportAmountView::SupportAmountView(std::function<void(double)> onSend)
    : Glib::ObjectBase("OstrelSupportAmountView"), ScreenBox(16), onSend_(std::move(onSend)),
      coffee_("Coffee", 48) {
    SupportStyle::apply(*this);
    set_margin_bottom(8);

    coffee_.set_hexpand(true);
    coffee_.set_vexpand(true);
    coffeeTile_.add_css_class("coffee-tile");
    coffeeTile_.set_size_request(64, 64);
    coffeeTile_.set_halign(Gtk::Align::CENTER);
    coffeeTile_.set_margin_top(8);
    coffeeTile_.append(coffee_);
    append(coffeeTile_);

    thanks_.set_text(
        "If Ostrel saves you from a rate-limit surprise now and then, a coffee's always appreciated.");
    thanks_.add_css_class("callout");
    thanks_.add_css_class("dim-label");
    thanks_.set_wrap(true);
    thanks_.set_max_width_chars(30);
    thanks_.set_justify(Gtk::Justification::CENTER);
    append(thanks_);

    presetRow_.set_homogeneous(true);
    for (std::size_t i = 0; i < presetButtons_.size(); ++i) {
        const int rupees = SupportAmount::presets[i];
        auto& button = presetButtons_[i];
        button.set_name("preset-" + std::to_string(rupees));
        button.set_label("\u20B9" + std::to_string(rupees));
        button.add_css_class("preset");
        button.add_css_class("callout");
        button.set_hexpand(true);
        button.signal_clicked().connect([this, rupees] { setAmountText(std::to_string(rupees)); });
        presetRow_.append(button);
    }
    append(presetRow_);

    rupee_.set_text("\u20B9");
    rupee_.add_css_class("dim-label");
    amountField_.set_name("amount");
    amountField_.add_css_class("bare");
    amountField_.set_has_frame(false);
    amountField_.set_hexpand(true);
    amountField_.set_placeholder_text("Amount");
    A11y::setName(amountField_, "Amount in rupees");
    amountField_.signal_changed().connect([this] {
        amountText_ = amountField_.get_text();
        refresh();
    });
    field_.add_css_class("field");
    field_.append(rupee_);
    field_.append(amountField_);
    append(field_);

    sendButton_.set_name("send");
    sendButton_.set_label("Send");
    sendButton_.add_css_class("suggested-action");
    sendButton_.add_css_class("large");
    sendButton_.set_halign(Gtk::Align::CENTER);
    sendButton_.signal_clicked().connect([this] { send(); });
    append(sendButton_);

    setAmountText(std::string(SupportAmount::initialText));
}

void SupportAmountView::setAmountText(const std::string& text) {
    amountField_.set_text(text); // the change handler stores it and refreshes
    amountText_ = text;
    refresh();
}

void SupportAmountView::refresh() {
    for (std::size_t i = 0; i < presetButtons_.size(); ++i) {
        if (SupportAmount::selects(amountText_, SupportAmount::presets[i]))
            presetButtons_[i].add_css_class("selected");
        else
            presetButtons_[i].remove_css_class("selected");
    }
    sendButton_.set_sensitive(SupportAmount::sendable(amountText_).has_value());
}

void SupportAmountView::send() {
    if (const auto amount = SupportAmount::sendable(amountText_); amount && onSend_) onSend_(*amount);
}

} // namespace ostrel
