#include "ui/panel/provider_panel.h"

#include "ui/panel/login_prompt.h"
#include "ui/panel/panel_actions.h"
#include "ui/panel/provider_logo.h"
#include "ui/panel/usage_view.h"

#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/spinner.h>

namespace ostrel {

namespace {

// A vertical stack owning its children (they are created per picture).
class OwningColumn : public Gtk::Box {
  public:
    explicit OwningColumn(int spacing) : Gtk::Box(Gtk::Orientation::VERTICAL, spacing) {}
    template <typename W> W& add(std::unique_ptr<W> widget) {
        W& ref = *widget;
        append(ref);
        owned_.push_back(std::move(widget));
        return ref;
    }

  private:
    std::vector<std::unique_ptr<Gtk::Widget>> owned_;
};

std::unique_ptr<Gtk::Label> secondaryCallout(const std::string& text) {
    auto label = std::make_unique<Gtk::Label>(text);
    label->add_css_class("callout");
    label->add_css_class("secondary");
    label->set_wrap(true);
    label->set_justify(Gtk::Justification::CENTER);
    return label;
}

} // namespace

ProviderPanel::ProviderPanel(UsageModel& model, ProviderID id)
    : Gtk::Box(Gtk::Orientation::VERTICAL), model_(model), id_(id) {
    set_name("provider-panel");
    // A widget is trackable: the connection ends with the panel.
    model_.changed.connect(sigc::mem_fun(*this, &ProviderPanel::update));
    update();
}

ProviderPanel::~ProviderPanel() {
    if (content_) remove(*content_);
}

void ProviderPanel::update() {
    const ProviderState state = model_.state(id_);
    const ProviderPicture picture = pictureFor(state);
    std::string text;
    if (picture == ProviderPicture::failed) text = state.status;
    if (picture == ProviderPicture::info) text = infoText(*state.snapshot);

    if (content_ && picture == picture_ && text == shownText_) {
        if (usage_) usage_->update(state);
        return;
    }
    picture_ = picture;
    shownText_ = text;
    usage_ = nullptr;
    if (content_) {
        remove(*content_);
        retired_.retire(std::move(content_)); // a "Retry" inside may be the caller
    }
    content_ = build(state);
    append(*content_);
}

std::unique_ptr<Gtk::Widget> ProviderPanel::build(const ProviderState& state) {
    switch (picture_) {
    case ProviderPicture::loginPrompt: {
        UsageModel& model = model_;
        const ProviderID id = id_;
        return std::make_unique<LoginPrompt>(id, [&model, id] { model.showLogin(id); });
    }
    case ProviderPicture::checking: {
        auto column = std::make_unique<OwningColumn>(12);
        column->set_name("checking");
        auto spinner = std::make_unique<Gtk::Spinner>();
        spinner->set_spinning(true);
        spinner->set_size_request(16, 16);
        column->add(std::move(spinner));
        column->add(secondaryCallout("Checking " + std::string(displayName(id_)) + "…"));
        column->set_margin_top(40);
        column->set_margin_bottom(40);
        column->set_hexpand(true);
        return column;
    }
    case ProviderPicture::failed:
        return messageStack(false, shownText_, true);
    case ProviderPicture::info:
        return messageStack(true, shownText_, false);
    case ProviderPicture::usage: {
        auto view = std::make_unique<UsageView>(model_, id_);
        view->update(state);
        usage_ = view.get();
        return view;
    }
    }
    return nullptr;
}

std::unique_ptr<Gtk::Widget> ProviderPanel::messageStack(bool withLogo, const std::string& text, bool retry) {
    auto column = std::make_unique<OwningColumn>(12);
    column->set_name(withLogo ? "info-message" : "failed");
    column->set_hexpand(true);
    column->set_margin_top(40);
    column->set_margin_bottom(40);
    if (withLogo) {
        auto& logo = column->add(std::make_unique<ProviderLogo>(id_, 40));
        logo.set_opacity(0.6);
        logo.set_halign(Gtk::Align::CENTER);
    }
    column->add(secondaryCallout(text)).set_name("message");
    if (retry) {
        auto& button = column->add(std::make_unique<Gtk::Button>("Retry"));
        button.set_name("retry");
        button.add_css_class("small");
        button.set_halign(Gtk::Align::CENTER);
        UsageModel& model = model_;
        const ProviderID id = id_;
        button.signal_clicked().connect([&model, id] { PanelActions::refresh(model, id); });
    }
    return column;
}

} // namespace ostrel
