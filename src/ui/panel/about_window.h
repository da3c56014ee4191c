// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// "About Ostrel": the version, the licence, the website, where to report a problem and who made it,
// in GTK's about window. One window, made on first use and kept; the application opens it from the
// settings screen's row and the tray menu through "app.about".

#include <gtkmm/aboutdialog.h>
#include <string>

namespace ostrel {

class AboutWindow : public Gtk::AboutDialog {
  public:
    // The site where people read about Ostrel and send feedback, and where problems go.
    static constexpr const char* website = "https://ostrel.app";
    static constexpr const char* issues = "https://ostrel.app/issues";

    explicit AboutWindow(const std::string& version);
};

} // namespace ostrel
