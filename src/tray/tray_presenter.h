#pragma once
// Keeps the tray item in step with the model: the rendered label (or the plain icon when there is
// nothing to show), the spoken text as title and tooltip, and the text as the item's label.

#include "model/usage_model.h"
#include "tray/tray_item.h"

#include <optional>
#include <sigc++/connection.h>
#include <string>
#include <vector>

namespace ostrel {

class TrayPresenter {
  public:
    TrayPresenter(UsageModel& model, TrayItem& item);
    TrayPresenter(const TrayPresenter&) = delete;
    TrayPresenter& operator=(const TrayPresenter&) = delete;
    ~TrayPresenter();

    // Draws the model's current state onto the item now.
    void update();

    // The pictures offered for a label: at scale 1 and 2, so hosts pick the sharper one.
    static std::vector<TrayPixmap> labelPixmaps(const std::vector<TrayEntry>& items, bool isDark);
    // The text of the label: each service's text, joined (GNOME shows it beside the icon).
    static std::string labelText(const std::vector<TrayEntry>& items);

  private:
    UsageModel& model_;
    TrayItem& item_;
    // What the item shows now, so an unchanged state is not sent to the host again.
    std::optional<std::vector<TrayEntry>> shownItems_;
    bool shownDark_ = false;
    std::string shownTitle_;
    sigc::connection changed_;
};

} // namespace ostrel
