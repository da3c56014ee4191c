#pragma once
// The one gauge widget every caller places. It owns the motion common to all themes — the level
// sliding to a new value, the hover response, the lean towards the pointer and the running clock —
// and hands the resulting numbers to the gauge of the chosen theme, which only draws.

#include "ui/gauges/gauge_motion.h"
#include "ui/gauges/gauge_theme.h"

#include <functional>
#include <gtkmm.h>
#include <optional>
#include <string>

namespace ostrel {

class GaugeView : public Gtk::Widget {
  public:
    // Seconds on a monotonic scale. The default follows the widget's frame clock.
    using TimeSource = std::function<double()>;

    GaugeView(GaugeTheme theme, double level, UsageLevel state, bool animated, TimeSource now = {});
    ~GaugeView() override;
    GaugeView(const GaugeView&) = delete;
    GaugeView& operator=(const GaugeView&) = delete;

    void setTheme(GaugeTheme theme);
    // Target fraction left, 0…1 (the caller clamps). On screen the gauge slides there from what it shows.
    void setLevel(double level);
    void setState(UsageLevel state);
    // What a screen reader says for the value ("71% left, resets in 2h"); empty says the level in
    // per cent. The range is 0 to 100, the value the level in per cent.
    void setSpokenValue(std::string text);
    void setAnimated(bool animated);
    // The size the gauge asks for; by default the theme's natural size.
    void setPreferredSize(std::optional<Size> size);

    GaugeTheme theme() const { return theme_; }
    double level() const { return level_; }
    UsageLevel state() const { return state_; }
    // Motion needs the caller's consent and the desktop's animation setting.
    bool motionOn() const;
    // Whether a per-frame redraw is scheduled: only with motion on while mapped.
    bool ticking() const { return tickId_ != 0; }
    // What a snapshot taken now would draw.
    GaugeFrame currentFrame() const;

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;
    void on_map() override;
    void on_unmap() override;

  private:
    double now() const;
    void updateTicking();
    void pointerAt(double x, double y);
    void speakLevel();

    GaugeTheme theme_;
    double level_;
    UsageLevel state_;
    bool animated_;
    TimeSource timeSource_;
    std::optional<Size> preferredSize_;
    std::string spokenValue_;
    GaugeMotion motion_;
    guint tickId_ = 0;
    gint64 lastDrawnFrame_ = 0; // frame-clock µs of the last frame the motion was drawn in
    static constexpr gint64 kFrameInterval = 30'000; // a little under 1/30 s, so 60 Hz frames alternate
    Glib::RefPtr<Gtk::Settings> settings_;
    sigc::connection animationsChanged_;
};

} // namespace ostrel
