#include "ui/panel/provider_tabs.h"

#include "ui/panel/panel_style.h"

#include <gdkmm/frameclock.h>
#include <gtk/gtk.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/settings.h>
#include <gtkmm/snapshot.h>
#include <gtkmm/stylecontext.h>

namespace ostrel {

namespace {

constexpr int logoSize = 17;
constexpr int tabHeight = 30;
constexpr float trackRadius = 11;
constexpr float highlightRadius = 8;

void fillRounded(GtkSnapshot* s, const graphene_rect_t& bounds, float radius, const GdkRGBA& color) {
    GskRoundedRect shape;
    gsk_rounded_rect_init_from_rect(&shape, &bounds, radius);
    gtk_snapshot_push_rounded_clip(s, &shape);
    gtk_snapshot_append_color(s, &color, &bounds);
    gtk_snapshot_pop(s);
}

} // namespace

ProviderTabs::ProviderTabs(std::function<void(ProviderID)> onSelect)
    : Glib::ObjectBase("OstrelProviderTabs"), onSelect_(std::move(onSelect)) {
    row_.set_homogeneous(true);
    row_.set_margin(3);
    row_.set_parent(*this);
    add_css_class("provider-tabs");

    // Left and Right move between the tabs and choose the one reached, as in any tab row.
    auto keys = Gtk::EventControllerKey::create();
    keys->signal_key_pressed().connect(
        [this](guint key, guint, Gdk::ModifierType) {
            if (key == GDK_KEY_Left || key == GDK_KEY_KP_Left) return step(-1);
            if (key == GDK_KEY_Right || key == GDK_KEY_KP_Right) return step(1);
            return false;
        },
        false);
    add_controller(keys);
}

bool ProviderTabs::step(int by) {
    if (tabs_.size() < 2) return false;
    const auto n = static_cast<int>(tabs_.size());
    int at = 0;
    for (int i = 0; i < n; ++i)
        if (tabs_[static_cast<std::size_t>(i)].id == selected_) at = i;
    const Tab& next = tabs_[static_cast<std::size_t>(((at + by) % n + n) % n)];
    next.button->grab_focus();
    if (onSelect_) onSelect_(next.id);
    return true;
}

ProviderTabs::~ProviderTabs() {
    if (tickId_) remove_tick_callback(tickId_);
    for (auto& tab : tabs_)
        row_.remove(*tab.button);
    row_.unparent();
}

void ProviderTabs::setProviders(const std::vector<ProviderID>& providers) {
    if (providers == providers_) return;
    providers_ = providers;
    for (auto& tab : tabs_)
        row_.remove(*tab.button);
    tabs_.clear();
    for (ProviderID id : providers_) {
        Tab tab{id, std::make_unique<Gtk::Button>(), std::make_unique<ProviderLogo>(id, logoSize)};
        const std::string name(displayName(id));
        tab.button->set_name("tab-" + std::string(rawValue(id)));
        tab.button->add_css_class("plain");
        tab.button->add_css_class("tab");
        tab.button->set_hexpand(true);
        tab.button->set_size_request(-1, tabHeight);
        tab.button->set_tooltip_text(name);
        tab.button->set_child(*tab.logo);
        gtk_accessible_update_property(GTK_ACCESSIBLE(tab.button->gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                       name.c_str(), -1);
        tab.button->signal_clicked().connect([this, id] {
            if (onSelect_) onSelect_(id);
        });
        row_.append(*tab.button);
        tabs_.push_back(std::move(tab));
    }
    placed_ = false; // new tabs: the highlight starts where the selection is
    refreshTabs();
    queue_allocate();
}

void ProviderTabs::setSelected(ProviderID id) {
    if (id == selected_ && placed_) return;
    selected_ = id;
    refreshTabs();
    moveHighlight(true);
}

Gtk::Button* ProviderTabs::tab(ProviderID id) {
    for (auto& tab : tabs_)
        if (tab.id == id) return tab.button.get();
    return nullptr;
}

void ProviderTabs::refreshTabs() {
    for (auto& tab : tabs_) {
        const bool selected = tab.id == selected_;
        tab.logo->set_opacity(selected ? 1.0 : 0.5);
        auto* accessible = GTK_ACCESSIBLE(tab.button->gobj());
        if (selected)
            gtk_accessible_update_state(accessible, GTK_ACCESSIBLE_STATE_SELECTED, TRUE, -1);
        else
            gtk_accessible_reset_state(accessible, GTK_ACCESSIBLE_STATE_SELECTED);
    }
    queue_draw();
}

std::optional<ProviderTabs::Highlight> ProviderTabs::highlightTarget() {
    Gtk::Button* button = tab(selected_);
    if (!button || button->get_width() <= 0) return std::nullopt;
    graphene_rect_t bounds;
    if (!gtk_widget_compute_bounds(GTK_WIDGET(button->gobj()), GTK_WIDGET(gobj()), &bounds))
        return std::nullopt;
    return Highlight{bounds.origin.x, bounds.size.width};
}

ProviderTabs::Highlight ProviderTabs::highlightNow() const {
    const double now = frameTime();
    return {x_.value(now), width_.value(now)};
}

bool ProviderTabs::motionAllowed() {
    const auto settings = get_settings();
    return !settings || settings->property_gtk_enable_animations().get_value();
}

double ProviderTabs::frameTime() const {
    if (const auto clock = get_frame_clock()) return static_cast<double>(clock->get_frame_time()) / 1e6;
    return static_cast<double>(g_get_monotonic_time()) / 1e6;
}

void ProviderTabs::moveHighlight(bool animate) {
    const auto target = highlightTarget();
    if (!target) return;
    if (!placed_ || !animate || !motionAllowed() || !get_mapped()) {
        x_.jumpTo(target->x);
        width_.jumpTo(target->width);
        placed_ = true;
        if (tickId_) {
            remove_tick_callback(tickId_);
            tickId_ = 0;
        }
        queue_draw();
        return;
    }
    if (x_.target() == target->x && width_.target() == target->width) return;
    const double now = frameTime();
    x_.retarget(target->x, now);
    width_.retarget(target->width, now);
    if (!tickId_) {
        tickId_ = add_tick_callback([this](const Glib::RefPtr<Gdk::FrameClock>& clock) {
            queue_draw();
            const double t = static_cast<double>(clock->get_frame_time()) / 1e6;
            if (!x_.settled(t) || !width_.settled(t)) return true;
            x_.jumpTo(x_.target());
            width_.jumpTo(width_.target());
            tickId_ = 0;
            return false;
        });
    }
}

Gtk::SizeRequestMode ProviderTabs::get_request_mode_vfunc() const {
    return row_.get_request_mode();
}

void ProviderTabs::measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                                 int& minimumBaseline, int& naturalBaseline) const {
    row_.measure(orientation, forSize, minimum, natural, minimumBaseline, naturalBaseline);
}

void ProviderTabs::size_allocate_vfunc(int width, int height, int baseline) {
    row_.size_allocate(Gtk::Allocation(0, 0, width, height), baseline);
    // A new width moves the tabs: follow them, on the spring only if already under way.
    moveHighlight(tickId_ != 0);
}

void ProviderTabs::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    GtkSnapshot* s = snapshot->gobj();
    const float w = static_cast<float>(get_width());
    const float h = static_cast<float>(get_height());
    const Gdk::RGBA fg = get_style_context()->get_color();
    const GdkRGBA track{static_cast<float>(fg.get_red()), static_cast<float>(fg.get_green()),
                        static_cast<float>(fg.get_blue()), 0.07f};
    fillRounded(s, GRAPHENE_RECT_INIT(0, 0, w, h), trackRadius, track);

    if (placed_ && !tabs_.empty()) {
        const Highlight now = highlightNow();
        const float top = static_cast<float>(row_.get_margin_top());
        const float height = h - top - static_cast<float>(row_.get_margin_bottom());
        const graphene_rect_t bounds =
            GRAPHENE_RECT_INIT(static_cast<float>(now.x), top, static_cast<float>(now.width), height);
        GskRoundedRect shape;
        gsk_rounded_rect_init_from_rect(&shape, &bounds, highlightRadius);
        const GdkRGBA shadow{0, 0, 0, 0.12f};
        gtk_snapshot_append_outset_shadow(s, &shape, &shadow, 0, 1, 0, 2);
        const bool dark = PanelStyle::isDark(*this);
        fillRounded(s, bounds, highlightRadius, GdkRGBA{1, 1, 1, dark ? 0.16f : 0.9f});
    }
    snapshot_child(row_, snapshot);
}

} // namespace ostrel
