#include "ui/panel/theme_picker_view.h"

#include "ui/common/a11y.h"
#include "ui/panel/theme_preview.h"

namespace ostrel {

namespace {
constexpr int gridHeight = 290;
constexpr int columns = 2;
constexpr int spacing = 10;
} // namespace

ThemePickerView::ThemePickerView(AppSettings& settings, std::optional<double> currentLevel)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 14), settings_(settings), currentLevel_(currentLevel),
      previewPercent_(ThemePreview::initialPercent(currentLevel)),
      slider_(Gtk::Adjustment::create(0, 0, 100, 1, 10, 0), Gtk::Orientation::HORIZONTAL) {
    set_name("theme-picker");
    set_halign(Gtk::Align::FILL);

    grid_.set_column_homogeneous(true);
    grid_.set_column_spacing(spacing);
    grid_.set_row_spacing(spacing);
    grid_.set_margin(2);
    grid_.set_margin_bottom(2 + 24); // room to scroll the last row out from under the fade
    for (std::size_t i = 0; i < allGaugeThemes.size(); ++i) {
        tiles_[i] = std::make_unique<ThemeTile>(allGaugeThemes[i], [this](GaugeTheme theme) {
            settings_.setTheme(theme); // stored again even when unchanged
        });
        const int index = static_cast<int>(i);
        grid_.attach(*tiles_[i], index % columns, index / columns);
    }

    scroller_.set_name("theme-grid");
    scroller_.add_css_class("picker-scroller");
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::ALWAYS);
    scroller_.set_overlay_scrolling(false); // scroll indicators always visible
    scroller_.set_size_request(-1, gridHeight);
    scroller_.set_child(grid_);
    gridArea_.set_child(scroller_);

    // The lowest 18 % fades into the card, hinting that more lies below.
    fade_.add_css_class("picker-fade");
    fade_.set_can_target(false);
    gridArea_.add_overlay(fade_);
    append(gridArea_);

    levelTitle_.set_text("Preview level");
    levelTitle_.set_hexpand(true);
    levelTitle_.set_xalign(0);
    levelRow_.append(levelTitle_);
    levelValue_.set_name("preview-value");
    levelValue_.add_css_class("secondary");
    levelValue_.add_css_class("tabular");
    levelRow_.append(levelValue_);
    levelRow_.add_css_class("caption");
    preview_.append(levelRow_);

    slider_.set_name("preview-slider");
    A11y::setName(slider_, "Preview level");
    slider_.add_css_class("small");
    slider_.set_draw_value(false);
    slider_.set_round_digits(-1); // continuous: no rounding of the value
    slider_.set_value(previewPercent_);
    slider_.signal_value_changed().connect([this] {
        previewPercent_ = slider_.get_value();
        refreshPreview();
    });
    preview_.append(slider_);

    backToCurrent_.set_name("back-to-current");
    backToCurrent_.set_label("Back to my current level");
    backToCurrent_.add_css_class("link-style");
    backToCurrent_.add_css_class("caption");
    backToCurrent_.set_halign(Gtk::Align::START);
    backToCurrent_.signal_clicked().connect([this] {
        if (currentLevel_) setPreviewPercent(*currentLevel_);
    });
    preview_.append(backToCurrent_);
    append(preview_);

    note_.set_text("Changes the gauge in the panel. The tray always shows logos and percentages.");
    note_.add_css_class("caption2");
    note_.add_css_class("secondary");
    note_.set_wrap(true);
    note_.set_xalign(0);
    append(note_);

    // A widget is trackable: the connection ends with the view.
    settings_.changed.connect(sigc::mem_fun(*this, &ThemePickerView::refreshTiles));
    refreshTiles();
    refreshPreview();
}

void ThemePickerView::startAt(std::optional<double> currentLevel) {
    currentLevel_ = currentLevel;
    scroller_.get_vadjustment()->set_value(0);
    setPreviewPercent(ThemePreview::initialPercent(currentLevel));
}

void ThemePickerView::setPreviewPercent(double percent) {
    slider_.set_value(percent); // its change handler stores and redraws
    previewPercent_ = slider_.get_value();
    refreshPreview();
}

ThemeTile& ThemePickerView::tile(GaugeTheme theme) {
    for (auto& tile : tiles_)
        if (tile->theme() == theme) return *tile;
    return *tiles_.front();
}

void ThemePickerView::refreshTiles() {
    for (auto& tile : tiles_)
        tile->setSelected(tile->theme() == settings_.theme());
}

void ThemePickerView::refreshPreview() {
    levelValue_.set_text(ThemePreview::label(previewPercent_));
    for (auto& tile : tiles_)
        tile->setPreview(previewPercent_);
    backToCurrent_.set_visible(ThemePreview::offersCurrentLevel(currentLevel_, previewPercent_));
}

} // namespace ostrel
