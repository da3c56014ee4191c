#pragma once
// What the panel's widget tests share: finding widgets by name or type, pressing buttons and keys,
// stand-ins for named actions, and a window that hosts a widget at the panel's width.

#include "scripted_model.h"
#include "support/display.h"

#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/window.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel::test {

using PanelModel = ScriptedModel;

// Whether the desktop allows animations.
void setAnimations(bool on);

Gtk::Widget* findNamed(Gtk::Widget& root, std::string_view name);

template <typename W> W& named(Gtk::Widget& root, std::string_view name) {
    auto* w = dynamic_cast<W*>(findNamed(root, name));
    if (!w) throw std::runtime_error("no widget named " + std::string(name) + " of the expected type");
    return *w;
}

// Every widget of type W under `root`, itself included, in tree order.
template <typename W> std::vector<W*> all(Gtk::Widget& root) {
    std::vector<W*> out;
    if (auto* w = dynamic_cast<W*>(&root)) out.push_back(w);
    for (auto* child = root.get_first_child(); child; child = child->get_next_sibling())
        for (W* found : all<W>(*child))
            out.push_back(found);
    return out;
}

// Whether the widget and all its parents are shown (a stack shows only its visible page).
bool shown(Gtk::Widget& widget);
// The texts of all labels under `root` that are shown, in tree order.
std::vector<std::string> shownTexts(Gtk::Widget& root);
bool showsText(Gtk::Widget& root, std::string_view text);

// Presses a button the way a click does: nothing happens while it is disabled or not shown.
void press(Gtk::Button& button);

// Looks for a shortcut with `trigger` ("Escape", "<Control>comma") the way the window dispatches a
// key press: managed and global controllers of mapped widgets under `root` (a stack's hidden pages
// are not), the first that handles it. True when one did.
bool pressKeys(Gtk::Widget& root, const char* trigger);

// A window showing `content` at the width it has in the panel.
class Host {
  public:
    explicit Host(Gtk::Widget& content);
    ~Host();

  private:
    Gtk::Window window_;
};

// Lets GTK lay out and draw what changed.
void settle();

} // namespace ostrel::test
