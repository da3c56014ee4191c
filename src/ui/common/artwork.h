#pragma once
// The application's pictures (service logos, the tray icon, the coffee cup, the info mark), bundled
// as resources. All are single-colour drawings meant to be tinted, like template images.

#include "base/gobject_ptr.h"

#include <gdkmm/pixbuf.h>
#include <string>
#include <string_view>

namespace ostrel {

// The SVG source of a picture by its name ("Claude", "Cursor", "Codex", "MenuBarIcon", "Coffee",
// "InfoCircle"); empty when there is no such picture.
std::string_view artworkSvg(std::string_view name);

// The picture drawn at `pixels` × `pixels` (aspect kept, centred); null when it cannot be drawn.
Glib::RefPtr<Gdk::Pixbuf> artworkPixbuf(std::string_view name, int pixels);
// The same without the C++ wrappers, for code that runs before or without gtkmm's set-up.
GObjectPtr<GdkPixbuf> artworkPixbufRaw(std::string_view name, int pixels);

} // namespace ostrel
