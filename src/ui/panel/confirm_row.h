// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The question a destructive button asks before it acts ("Log out of Cursor?  Cancel  Log out"):
// a row that its owner places under the button and shows with ask(). Nothing happens until the
// user presses the confirming button; Cancel, Escape's screen change or the panel closing put the
// question away. Asking first rather than offering Undo: a log-out removes the site's cookies, which
// no undo can bring back.

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <string>

namespace ostrel {

class ConfirmRow : public Gtk::Box {
  public:
    // `name` names the row's widgets for tests ("confirm-<name>", "cancel-<name>").
    ConfirmRow(const std::string& name, const std::string& question, const std::string& confirmLabel,
               std::function<void()> onConfirm);

    // Shows the question and puts the focus on Cancel, the harmless answer.
    void ask();
    bool asking() const { return get_visible(); }

  private:
    void putAway();

    Gtk::Label question_;
    Gtk::Button cancel_;
    Gtk::Button confirm_;
    std::function<void()> onConfirm_;
};

} // namespace ostrel
