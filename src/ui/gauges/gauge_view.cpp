#include "ui/gauges/gauge_view.h"

#include "ui/common/a11y.h"
#include "ui/gauges/gauge_drawing.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

namespace {

constexpr double kMicroseconds = 1e6;

GaugeStyle styleOf(Gtk::Widget& widget) {
    GaugeStyle style;
    // GTK 4.8 has no gtk_widget_get_color yet; the style context is where the text colour lives.
    const Gdk::RGBA c = widget.get_style_context()->get_color();
    style.text = {c.get_red(), c.get_green(), c.get_blue(), c.get_alpha()};
    style.secondaryText = withOpacity(style.text, 0.55);
    const Glib::ustring family = widget.get_pango_context()->get_font_description().get_family();
    if (!family.empty()) style.fontFamily = family;
    return style;
}

} // namespace

GaugeView::GaugeView(GaugeTheme theme, double level, UsageLevel state, bool animated, TimeSource now)
    : Glib::ObjectBase("OstrelGaugeView"), theme_(theme), level_(level), state_(state), animated_(animated),
      timeSource_(std::move(now)) {
    // A screen reader hears a meter with the level in per cent, not a blank picture. The role can be
    // set only before anything asks for the widget's accessible, so first.
    property_accessible_role() = Gtk::Accessible::Role::METER;
    A11y::setName(*this, "Usage left");
    speakLevel();

    auto pointer = Gtk::EventControllerMotion::create();
    pointer->signal_enter().connect([this](double x, double y) { pointerAt(x, y); });
    pointer->signal_motion().connect([this](double x, double y) { pointerAt(x, y); });
    pointer->signal_leave().connect([this] {
        motion_.pointerLeft(this->now());
        queue_draw();
    });
    add_controller(pointer);

    settings_ = get_settings();
    if (settings_) {
        animationsChanged_ = settings_->property_gtk_enable_animations().signal_changed().connect([this] {
            updateTicking();
            queue_draw();
        });
    }
}

GaugeView::~GaugeView() {
    animationsChanged_.disconnect();
    if (tickId_) remove_tick_callback(tickId_);
}

void GaugeView::setTheme(GaugeTheme theme) {
    if (theme == theme_) return;
    theme_ = theme;
    queue_resize();
    queue_draw();
}

void GaugeView::setLevel(double level) {
    if (level == level_) return;
    level_ = level;
    speakLevel();
    if (get_mapped()) motion_.retarget(level, now());
    queue_draw();
}

void GaugeView::setSpokenValue(std::string text) {
    spokenValue_ = std::move(text);
    speakLevel();
}

void GaugeView::speakLevel() {
    const double percent = std::clamp(level_, 0.0, 1.0) * 100;
    const std::string text = spokenValue_.empty()
                                 ? std::to_string(static_cast<int>(std::lround(percent))) + "% left"
                                 : spokenValue_;
    A11y::setValue(*this, 0, 100, percent, text);
}

void GaugeView::setState(UsageLevel state) {
    if (state == state_) return;
    state_ = state;
    queue_draw();
}

void GaugeView::setAnimated(bool animated) {
    if (animated == animated_) return;
    animated_ = animated;
    updateTicking();
    queue_draw();
}

void GaugeView::setPreferredSize(std::optional<Size> size) {
    preferredSize_ = size;
    queue_resize();
}

bool GaugeView::motionOn() const {
    return animated_ && (!settings_ || settings_->property_gtk_enable_animations().get_value());
}

GaugeFrame GaugeView::currentFrame() const {
    return gaugeFrame(motion_, level_, state_, motionOn(), now(),
                      {double(get_width()), double(get_height())});
}

double GaugeView::now() const {
    if (timeSource_) return timeSource_();
    // The frame clock's time keeps the motion evenly spaced across frames; it shares the monotonic base.
    if (const auto clock = get_frame_clock())
        return static_cast<double>(clock->get_frame_time()) / kMicroseconds;
    return static_cast<double>(g_get_monotonic_time()) / kMicroseconds;
}

void GaugeView::updateTicking() {
    const bool wanted = motionOn() && get_mapped();
    if (wanted && !tickId_) {
        tickId_ = add_tick_callback([this](const Glib::RefPtr<Gdk::FrameClock>& clock) {
            // Thirty pictures a second carry the slow waves and flames as well as sixty, for half the
            // drawing: the panel stays open for minutes, often on a software renderer.
            const gint64 t = clock->get_frame_time();
            if (t - lastDrawnFrame_ >= kFrameInterval) {
                lastDrawnFrame_ = t;
                queue_draw();
            }
            return true;
        });
    } else if (!wanted && tickId_) {
        remove_tick_callback(tickId_);
        tickId_ = 0;
    }
}

void GaugeView::pointerAt(double x, double y) {
    motion_.pointerMoved(x, y, {double(get_width()), double(get_height())}, now());
    queue_draw();
}

Gtk::SizeRequestMode GaugeView::get_request_mode_vfunc() const {
    return Gtk::SizeRequestMode::CONSTANT_SIZE;
}

void GaugeView::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural,
                              int& minimumBaseline, int& naturalBaseline) const {
    const Size size = preferredSize_.value_or(naturalSize(theme_));
    const double extent = orientation == Gtk::Orientation::HORIZONTAL ? size.width : size.height;
    minimum = natural = static_cast<int>(std::ceil(extent));
    minimumBaseline = naturalBaseline = -1;
}

void GaugeView::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const Size size{double(get_width()), double(get_height())};
    if (size.width <= 0 || size.height <= 0) return;
    const GaugeFrame frame = currentFrame();
    GtkSnapshot* s = snapshot->gobj();
    SnapshotState state(s);
    // Lean: turn about the centre, then shift.
    translateSnapshot(s, size.width / 2 + frame.offset.x, size.height / 2 + frame.offset.y);
    gtk_snapshot_rotate(s, static_cast<float>(frame.rotationDegrees));
    translateSnapshot(s, -size.width / 2, -size.height / 2);
    drawGauge(s, theme_, frame.inputs, size, styleOf(*this));
}

void GaugeView::on_map() {
    Gtk::Widget::on_map();
    motion_.appear(level_, now());
    updateTicking();
}

void GaugeView::on_unmap() {
    Gtk::Widget::on_unmap();
    updateTicking();
}

} // namespace ostrel
