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
    // `squareIcon` for hosts that print the text beside the icon: the picture is then the plain
    // square icon, and the text names the services.
    TrayPresenter(UsageModel& model, TrayItem& item, bool squareIcon = false);
    TrayPresenter(const TrayPresenter&) = delete;
    TrayPresenter& operator=(const TrayPresenter&) = delete;
    ~TrayPresenter();

    // Draws the model's current state onto the item now.
    void update();

    // The pictures offered for a label: at scale 1 and 2, so hosts pick the sharper one.
    static std::vector<TrayPixmap> labelPixmaps(const std::vector<TrayEntry>& items, bool isDark,
                                                bool squareIcon = false);

  private:
    UsageModel& model_;
    TrayItem& item_;
    bool squareIcon_;
    // What the item shows now, so an unchanged state is not sent to the host again.
    std::optional<std::vector<TrayEntry>> shownItems_;
    bool shownDark_ = false;
    std::string shownTitle_;
    sigc::connection changed_;
};

} // namespace ostrel
