#include "support/display.h"

#include <X11/Xlib.h>
#include <cstdio>
#include <glib.h>
#include <gtk/gtk.h>
#include <gtkmm/init.h>
#include <memory>

namespace ostrel::test {

namespace {
struct DisplayCloser {
    void operator()(Display* d) const { XCloseDisplay(d); }
};
using DisplayPtr = std::unique_ptr<Display, DisplayCloser>;

// A connection to the X server, once it answers; null when it is not X11 or never answers.
DisplayPtr waitForX11Display() {
    if (!g_getenv("DISPLAY")) return nullptr;
    for (int attempt = 0; attempt < 30; ++attempt) {
        if (DisplayPtr display{XOpenDisplay(nullptr)}) {
            if (attempt > 0)
                std::fprintf(stderr, "[test] the display took %d more tries to answer\n", attempt);
            return display;
        }
        g_usleep(100 * 1000);
    }
    return nullptr;
}

bool openGtk() {
    // Held open until GTK has its own connection: a server left with no client resets, and
    // refuses connections meanwhile.
    const DisplayPtr probe = waitForX11Display();
    if (g_getenv("DISPLAY") && !probe) return false;
    return gtk_init_check();
}
} // namespace

bool startGtk() {
    static const bool started = openGtk();
    if (started) Gtk::init_gtkmm_internals();
    return started;
}

} // namespace ostrel::test
