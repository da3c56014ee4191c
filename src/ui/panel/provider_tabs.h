#pragma once
// The segmented row of service logos on the main screen. The selection highlight is one shape that
// slides and resizes from the old tab to the new one on a spring, instead of appearing anew. Left
// and Right move between the tabs.

#include "base/usage.h"
#include "ui/panel/provider_logo.h"
#include "ui/panel/spring.h"

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <memory>
#include <optional>
#include <vector>

namespace ostrel {

class ProviderTabs : public Gtk::Widget {
  public:
    struct Highlight {
        double x = 0;
        double width = 0;
    };

    // `onSelect` runs when the user picks a tab; the owner stores the choice and calls setSelected.
    explicit ProviderTabs(std::function<void(ProviderID)> onSelect);
    ~ProviderTabs() override;
    ProviderTabs(const ProviderTabs&) = delete;
    ProviderTabs& operator=(const ProviderTabs&) = delete;

    void setProviders(const std::vector<ProviderID>& providers);
    void setSelected(ProviderID id);

    const std::vector<ProviderID>& providers() const { return providers_; }
    ProviderID selected() const { return selected_; }
    Gtk::Button* tab(ProviderID id);
    // Where the highlight is drawn now, and where it is heading, in this widget's coordinates.
    Highlight highlightNow() const;
    std::optional<Highlight> highlightTarget();
    bool animating() const { return tickId_ != 0; }

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    struct Tab {
        ProviderID id;
        std::unique_ptr<Gtk::Button> button;
        std::unique_ptr<ProviderLogo> logo;
    };

    void refreshTabs();
    // Chooses the tab `by` places from the selected one, wrapping around, and focuses it.
    bool step(int by);
    void moveHighlight(bool animate);
    bool motionAllowed();
    double frameTime() const;

    std::function<void(ProviderID)> onSelect_;
    std::vector<ProviderID> providers_;
    ProviderID selected_ = ProviderID::claude;
    Gtk::Box row_{Gtk::Orientation::HORIZONTAL, 2};
    std::vector<Tab> tabs_;
    Spring x_;
    Spring width_;
    bool placed_ = false; // the highlight has a position (after the first layout)
    guint tickId_ = 0;
};

} // namespace ostrel
