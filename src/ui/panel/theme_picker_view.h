#pragma once
// The theme screen: every theme as a live miniature in a two-column scrolling grid that fades out
// at the bottom, a slider to try the miniatures at any level, and a way back to the current level.
// Choosing a tile stores the theme at once.

#include "model/app_settings.h"
#include "ui/panel/theme_tile.h"

#include <array>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/overlay.h>
#include <gtkmm/scale.h>
#include <gtkmm/scrolledwindow.h>
#include <memory>
#include <optional>

namespace ostrel {

class ThemePickerView : public Gtk::Box {
  public:
    // `currentLevel` is the shown service's percentage left, if known; the preview starts there.
    ThemePickerView(AppSettings& settings, std::optional<double> currentLevel);

    // Starts over as on a first showing: the preview at `currentLevel` (if known), scrolled to the top.
    void startAt(std::optional<double> currentLevel);

    double previewPercent() const { return previewPercent_; }
    void setPreviewPercent(double percent);
    ThemeTile& tile(GaugeTheme theme);
    Gtk::ScrolledWindow& scroller() { return scroller_; }

  private:
    void refreshTiles();
    void refreshPreview();

    AppSettings& settings_;
    std::optional<double> currentLevel_;
    double previewPercent_;

    Gtk::Overlay gridArea_;
    Gtk::ScrolledWindow scroller_;
    Gtk::Grid grid_;
    std::array<std::unique_ptr<ThemeTile>, 6> tiles_;
    Gtk::Box fade_;

    Gtk::Box preview_{Gtk::Orientation::VERTICAL, 6};
    Gtk::Box levelRow_{Gtk::Orientation::HORIZONTAL};
    Gtk::Label levelTitle_;
    Gtk::Label levelValue_;
    Gtk::Scale slider_;
    Gtk::Button backToCurrent_;
    Gtk::Label note_;
};

} // namespace ostrel
