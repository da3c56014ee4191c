#include "support/display.h"

#include <X11/Xlib.h>
#include <glib.h>
#include <gtk/gtk.h>
#include <gtkmm/init.h>

namespace ostrel::test {

namespace {
bool openGtk() {
    if (!g_getenv("DISPLAY")) return gtk_init_check(); // not X11: nothing to wait for
    // The probe stays open until GTK has its own connection: a server left with no client resets,
    // and refuses connections meanwhile.
    Display* probe = XOpenDisplay(nullptr);
    for (int attempt = 1; !probe && attempt < 30; ++attempt) {
        g_usleep(100 * 1000);
        probe = XOpenDisplay(nullptr);
    }
    if (!probe) return false;
    const bool opened = gtk_init_check();
    XCloseDisplay(probe);
    return opened;
}
} // namespace

bool startGtk() {
    static const bool started = openGtk();
    if (started) Gtk::init_gtkmm_internals();
    return started;
}

} // namespace ostrel::test
