// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/panel/about_window.h"

namespace ostrel {

AboutWindow::AboutWindow(const std::string& version) {
    set_name("about");
    set_program_name("Ostrel");
    set_version(version);
    set_comments("How much of your Claude, Cursor and Codex allowance is left, and when it resets.");
    set_logo_icon_name("app.ostrel.Ostrel");
    set_license_type(Gtk::License::GPL_3_0);
    set_website(website);
    set_website_label("ostrel.app");
    set_authors({"The Ostrel developers"});
    set_artists({"The Ostrel developers (gauges, logos and the app icon)"});
    add_credit_section("Report a problem", {std::string("Issue tracker ") + issues});
    set_hide_on_close(true);
}

} // namespace ostrel
