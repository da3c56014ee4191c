// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/panel/confirm_row.h"

namespace ostrel {

ConfirmRow::ConfirmRow(const std::string& name, const std::string& question, const std::string& confirmLabel,
                       std::function<void()> onConfirm)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 6), onConfirm_(std::move(onConfirm)) {
    set_name("ask-" + name);
    add_css_class("confirm-row");
    question_.set_text(question);
    question_.add_css_class("callout");
    question_.set_wrap(true);
    question_.set_xalign(0);
    question_.set_hexpand(true);
    append(question_);
    cancel_.set_name("cancel-" + name);
    cancel_.set_label("Cancel");
    cancel_.add_css_class("small");
    cancel_.set_valign(Gtk::Align::CENTER);
    cancel_.signal_clicked().connect([this] { putAway(); });
    append(cancel_);
    confirm_.set_name("confirm-" + name);
    confirm_.set_label(confirmLabel);
    confirm_.add_css_class("small");
    confirm_.add_css_class("destructive-action");
    confirm_.set_valign(Gtk::Align::CENTER);
    confirm_.signal_clicked().connect([this] {
        putAway();
        if (onConfirm_) onConfirm_();
    });
    append(confirm_);
    set_visible(false);
    // A question left open would greet the next visit with a loaded button.
    signal_unmap().connect([this] { set_visible(false); });
}

void ConfirmRow::ask() {
    set_visible(true);
    cancel_.grab_focus();
}

void ConfirmRow::putAway() {
    set_visible(false);
}

} // namespace ostrel
