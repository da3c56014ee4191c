#pragma once
// Writes what a widget shows into a PNG under the build folder, for people to look at.

#include <gtk/gtk.h>
#include <string>

namespace ostrel::test {

// Renders `widget` (realized and mapped) to OSTREL_BUILD_DIR/screenshots/<name>.png and returns the
// path, or "" when it could not be rendered.
std::string saveScreenshot(GtkWidget* widget, const std::string& name);

} // namespace ostrel::test
