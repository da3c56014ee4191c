#include "ui/support/support_qr_view.h"

#include "async/loop.h"
#include "ui/common/a11y.h"
#include "ui/support/qr_code.h"
#include "ui/support/qr_picture.h"
#include "ui/support/support_amount.h"
#include "ui/support/support_style.h"
#include "ui/support/upi_link.h"

#include <gdkmm/clipboard.h>
#include <string>

namespace ostrel {

namespace {
constexpr int qrSide = 180;
constexpr auto copiedFor = std::chrono::seconds(2);
} // namespace

SupportQRView::SupportQRView(double amount)
    : Glib::ObjectBase("OstrelSupportQRView"), ScreenBox(12), amount_(amount) {
    SupportStyle::apply(*this);
    set_margin_top(10);
    set_margin_bottom(8);
    const UPI::Payee payee = UPI::payee();

    // Without an image (a link too long for any QR code) the rest of the screen still shows.
    if (auto image = UPI::qrCode(UPI::paymentLink(amount_))) {
        qrTile_.add_css_class("qr-tile");
        qrTile_.set_halign(Gtk::Align::CENTER);
        qrTile_.append(*Gtk::make_managed<QrPicture>(image, qrSide));
        append(qrTile_);
    }

    payLine_.set_name("pay-line");
    payLine_.set_text(SupportAmount::rupeeLine(amount_, payee.name));
    payLine_.add_css_class("pay-line");
    payLine_.set_wrap(true);
    payLine_.set_max_width_chars(30);
    payLine_.set_justify(Gtk::Justification::CENTER);
    append(payLine_);

    address_.set_text(std::string(payee.address));
    address_.add_css_class("callout");
    address_.add_css_class("dim-label");
    address_.set_ellipsize(Pango::EllipsizeMode::MIDDLE);
    copySymbol_.set_name("copy-symbol");
    copySymbol_.set_pixel_size(11);
    copySymbol_.add_css_class("dim-label");
    copyContent_.append(address_);
    copyContent_.append(copySymbol_);
    copyButton_.set_name("copy");
    copyButton_.set_child(copyContent_);
    copyButton_.add_css_class("plain");
    copyButton_.set_tooltip_text("Copy UPI ID");
    A11y::setName(copyButton_, "Copy UPI ID");
    copyButton_.set_halign(Gtk::Align::CENTER);
    copyButton_.signal_clicked().connect([this] { copyAddress(); });
    append(copyButton_);

    hint_.set_text("Scan with any UPI app \u2014 GPay, PhonePe, Paytm, or your bank's app.");
    hint_.add_css_class("caption");
    hint_.add_css_class("dim-label");
    hint_.set_wrap(true);
    hint_.set_max_width_chars(30);
    hint_.set_justify(Gtk::Justification::CENTER);
    hint_.set_margin_top(4);
    append(hint_);

    setCopied(false);
}

void SupportQRView::copyAddress() {
    get_clipboard()->set_text(std::string(UPI::payee().address));
    setCopied(true);
    tasks_.spawn(clearCopiedLater());
}

Task<void> SupportQRView::clearCopiedLater() {
    co_await sleepFor(copiedFor);
    setCopied(false);
}

void SupportQRView::setCopied(bool copied) {
    copied_ = copied;
    copySymbol_.set_from_icon_name(copied ? "object-select-symbolic" : "edit-copy-symbolic");
}

} // namespace ostrel
