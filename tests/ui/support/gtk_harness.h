#pragma once
// Helpers for the support screens' widget tests: GTK start-up, finding a named widget, and a
// window that hosts a screen at the panel's width and can save what it shows as a PNG.

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/widget.h>
#include <gtkmm/window.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ostrel::test {

// Starts GTK for this process; false when no display can be opened.
bool startGtk();

Gtk::Widget* findNamed(Gtk::Widget& root, std::string_view name);

template <typename W> W& named(Gtk::Widget& root, std::string_view name) {
    auto* w = dynamic_cast<W*>(findNamed(root, name));
    if (!w) throw std::runtime_error("no widget named " + std::string(name) + " of the expected type");
    return *w;
}

// Presses a button the way a click does: nothing happens while it is disabled or not shown.
void press(Gtk::Button& button);

// The panel's width in points, padding included.
inline constexpr int panelWidth = 300;

class PanelHost {
  public:
    explicit PanelHost(Gtk::Widget& screen);
    ~PanelHost();
    PanelHost(const PanelHost&) = delete;
    PanelHost& operator=(const PanelHost&) = delete;

    // Lets GTK lay out and draw what changed.
    void settle();
    // Saves the panel area as a PNG; returns its size in pixels.
    std::pair<int, int> saveScreenshot(const std::string& path);

  private:
    Gtk::Window window_;
    Gtk::Box outer_;
    Gtk::Box frame_;
};

// OSTREL_BUILD_DIR "/screenshots/support/" + name, with the folder created.
std::string screenshotPath(const std::string& name);

} // namespace ostrel::test
