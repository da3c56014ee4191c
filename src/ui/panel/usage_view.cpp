#include "ui/panel/usage_view.h"

#include "model/fmt.h"
#include "model/time_format.h"
#include "model/usage_history.h"
#include "ui/common/a11y.h"
#include "ui/panel/panel_actions.h"

#include <cctype>

namespace ostrel {

UsageView::UsageView(UsageModel& model, ProviderID id)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 14), model_(model), id_(id),
      banner_([&model, id] { PanelActions::refresh(model, id); }, [&model, id] { model.showLogin(id); }),
      gauge_(model.settings().theme(), 0, UsageLevel::veryHigh, true) {
    set_name("usage");

    banner_.set_visible(false);
    append(banner_);

    gauge_.set_name("gauge");
    A11y::setName(gauge_, std::string(displayName(id)) + " usage left");
    gauge_.set_halign(Gtk::Align::CENTER);
    gauge_.set_margin_top(8);
    append(gauge_);

    figures_.set_margin_bottom(8);
    figures_.set_halign(Gtk::Align::CENTER);
    big_.set_name("big-figure");
    big_.add_css_class("big-figure");
    big_.add_css_class("tabular");
    figures_.append(big_);
    detail_.set_name("figure-detail");
    detail_.add_css_class("figure-detail");
    detail_.add_css_class("secondary");
    detail_.add_css_class("tabular");
    figures_.append(detail_);
    pace_.set_name("pace");
    pace_.add_css_class("caption");
    pace_.add_css_class("secondary");
    pace_.set_visible(false);
    figures_.append(pace_);
    note_.set_name("note");
    note_.add_css_class("cost-note");
    note_.set_wrap(true);
    note_.set_justify(Gtk::Justification::CENTER);
    figures_.append(note_);
    append(figures_);
    append(chart_);

    divider_.set_name("limits-divider");
    append(divider_);
    rows_.set_name("limit-rows");
    append(rows_);
}

UsageView::~UsageView() {
    for (auto& row : limitRows_)
        rows_.remove(*row);
}

void UsageView::update(const ProviderState& state) {
    const UsageSnapshot& snapshot = *state.snapshot;
    const UsageLimit& main = *snapshot.main;

    // Offline, every service's numbers are old for the same plain reason; that says more than an
    // error would.
    const bool notResponding = model_.isNotResponding(id_, model_.now());
    banner_.set_visible(model_.isOffline() || state.lastError.has_value() ||
                        model_.isStale(id_, model_.now()));
    if (model_.isOffline())
        banner_.showOffline(state.lastUpdated);
    else if (banner_.get_visible())
        banner_.update(state.lastUpdated, state.lastError, state.botCheckHost, notResponding);

    gauge_.setTheme(model_.settings().theme());
    gauge_.setLevel(main.percentLeft() / 100);
    gauge_.setState(main.level());
    if (state.lastUpdated)
        gauge_.set_tooltip_text("Updated " + shortTime(*state.lastUpdated));
    else
        gauge_.set_has_tooltip(false);

    big_.set_text(Fmt::percent(main.percentLeft()) + " left");
    // The countdown runs on the model's clock, which ticks every 30 seconds, not on every redraw.
    if (snapshot.mainNotStarted) {
        detail_.set_text("Not started");
        detail_.set_visible(true);
    } else if (main.resetsAt) {
        detail_.set_text("Resets in " + Fmt::duration(*main.resetsAt, model_.now(), false));
        detail_.set_visible(true);
    } else {
        detail_.set_visible(false);
    }
    // The gauge reads as the figures under it read: "71% left, resets in 2h 5m".
    std::string spoken = big_.get_text();
    if (detail_.get_visible()) {
        std::string detail = detail_.get_text();
        if (!detail.empty())
            detail[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(detail[0])));
        spoken += ", " + detail;
    }
    gauge_.setSpokenValue(spoken);
    note_.set_visible(snapshot.note.has_value());
    if (snapshot.note) note_.set_text(*snapshot.note);

    setRows(snapshot.others);
    updateHistory();
}

void UsageView::updateHistory() {
    const UsageHistory* history = model_.history();
    const auto forecast = history ? history->forecast(id_) : std::nullopt;
    pace_.set_visible(forecast.has_value());
    if (forecast) pace_.set_text(paceText(*forecast, model_.now()));
    if (history)
        chart_.setReadings(history->mainReadings(id_), model_.now());
    else
        chart_.set_visible(false);
}

void UsageView::setRows(const std::vector<UsageLimit>& others) {
    divider_.set_visible(!others.empty());
    rows_.set_visible(!others.empty());
    if (others == shownOthers_ && !limitRows_.empty() == !others.empty()) return;
    shownOthers_ = others;
    for (auto& row : limitRows_)
        rows_.remove(*row);
    limitRows_.clear();
    for (const UsageLimit& limit : others) {
        limitRows_.push_back(std::make_unique<LimitRow>(limit));
        rows_.append(*limitRows_.back());
    }
}

} // namespace ostrel
