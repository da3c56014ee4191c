#include "ui/panel/provider_panel.h"

#include "ui/panel/panel_actions.h"

namespace ostrel {

namespace {

void styleMessage(Gtk::Label& label) {
    label.add_css_class("callout");
    label.add_css_class("secondary");
    label.set_wrap(true);
    label.set_justify(Gtk::Justification::CENTER);
}

// The message pictures take the full width with 40 points above and below.
void styleColumn(Gtk::Box& column, const char* name) {
    column.set_name(name);
    column.set_hexpand(true);
    column.set_margin_top(40);
    column.set_margin_bottom(40);
}

const char* pageName(ProviderPicture picture) {
    switch (picture) {
    case ProviderPicture::loginPrompt:
        return "login-prompt";
    case ProviderPicture::checking:
        return "checking";
    case ProviderPicture::failed:
        return "failed";
    case ProviderPicture::info:
        return "info-message";
    case ProviderPicture::usage:
        return "usage";
    }
    return "checking";
}

} // namespace

ProviderPanel::ProviderPanel(UsageModel& model, ProviderID id)
    : Gtk::Box(Gtk::Orientation::VERTICAL), model_(model), id_(id),
      loginPrompt_(id, [&model, id] { model.showLogin(id); }), infoLogo_(id, 40), usage_(model, id) {
    set_name("provider-panel");
    // Each picture is as tall as it needs, not as the tallest one.
    pictures_.set_hhomogeneous(false);
    pictures_.set_vhomogeneous(false);
    append(pictures_);

    pictures_.add(loginPrompt_, pageName(ProviderPicture::loginPrompt));

    styleColumn(checking_, pageName(ProviderPicture::checking));
    spinner_.set_size_request(16, 16);
    checking_.append(spinner_);
    checkingText_.set_text("Checking " + std::string(displayName(id)) + "…");
    styleMessage(checkingText_);
    checking_.append(checkingText_);
    pictures_.add(checking_, pageName(ProviderPicture::checking));

    styleColumn(failed_, pageName(ProviderPicture::failed));
    failedText_.set_name("message");
    styleMessage(failedText_);
    failed_.append(failedText_);
    retry_.set_name("retry");
    retry_.set_label("Retry");
    retry_.add_css_class("small");
    retry_.set_halign(Gtk::Align::CENTER);
    retry_.signal_clicked().connect([&model, id] { PanelActions::refresh(model, id); });
    failed_.append(retry_);
    openSite_.set_name("open-site");
    openSite_.add_css_class("small");
    openSite_.set_halign(Gtk::Align::CENTER);
    openSite_.signal_clicked().connect([&model, id] { model.showLogin(id); });
    failed_.append(openSite_);
    pictures_.add(failed_, pageName(ProviderPicture::failed));

    styleColumn(info_, pageName(ProviderPicture::info));
    infoLogo_.set_opacity(0.6);
    infoLogo_.set_halign(Gtk::Align::CENTER);
    info_.append(infoLogo_);
    infoText_.set_name("message");
    styleMessage(infoText_);
    info_.append(infoText_);
    pictures_.add(info_, pageName(ProviderPicture::info));

    pictures_.add(usage_, pageName(ProviderPicture::usage));

    // A widget is trackable: the connection ends with the panel.
    model_.changed.connect(sigc::mem_fun(*this, &ProviderPanel::update));
    update();
}

ProviderPanel::~ProviderPanel() {
    // The pages are members: take them out of the stack before they go.
    for (Gtk::Widget* page : {static_cast<Gtk::Widget*>(&loginPrompt_), static_cast<Gtk::Widget*>(&checking_),
                              static_cast<Gtk::Widget*>(&failed_), static_cast<Gtk::Widget*>(&info_),
                              static_cast<Gtk::Widget*>(&usage_)})
        pictures_.remove(*page);
}

void ProviderPanel::update() {
    const ProviderState state = model_.state(id_);
    const ProviderPicture picture = pictureFor(state);
    switch (picture) {
    case ProviderPicture::failed:
        failedText_.set_text(state.status);
        openSite_.set_visible(state.botCheckHost.has_value());
        if (state.botCheckHost) openSite_.set_label("Open " + *state.botCheckHost);
        break;
    case ProviderPicture::info:
        infoText_.set_text(infoText(*state.snapshot));
        break;
    case ProviderPicture::usage:
        usage_.update(state);
        break;
    default:
        break;
    }
    showPicture(picture);
}

void ProviderPanel::showPicture(ProviderPicture picture) {
    picture_ = picture;
    // Only the shown spinner turns, so a hidden one costs no frames.
    spinner_.set_spinning(picture == ProviderPicture::checking);
    pictures_.set_visible_child(pageName(picture));
}

} // namespace ostrel
