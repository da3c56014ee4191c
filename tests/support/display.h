#pragma once
// Starting GTK in a test process on the shared virtual display.

namespace ostrel::test {

// Opens GTK (and gtkmm) on the display; false when none can be opened. A virtual X server that
// is resetting (its last client has just left) refuses connections for a moment, and GTK cannot
// try again once it has failed, so the display is waited for first, for at most three seconds.
bool startGtk();

} // namespace ostrel::test
