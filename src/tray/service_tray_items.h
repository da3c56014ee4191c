#pragma once
// The tray as one square item per service, for hosts that squeeze a wide icon into a square (KDE
// Plasma, Xfce): each item is the percentage left in large digits under the service's small logo, with the
// spoken text as its title and tooltip. With nothing to show, one item with the plain icon remains.

#include "model/usage_model.h"
#include "tray/tray_item.h"

#include <functional>
#include <memory>
#include <sigc++/connection.h>
#include <vector>

namespace ostrel {

class ServiceTrayItems {
  public:
    // `makeItem(index)` creates the index-th item (1, 2, …) with the app's actions.
    using ItemFactory = std::function<std::unique_ptr<TrayItem>(int index)>;

    ServiceTrayItems(UsageModel& model, ItemFactory makeItem);
    ServiceTrayItems(const ServiceTrayItems&) = delete;
    ServiceTrayItems& operator=(const ServiceTrayItems&) = delete;
    ~ServiceTrayItems();

    void update();
    const std::vector<std::unique_ptr<TrayItem>>& items() const { return items_; }

  private:
    UsageModel& model_;
    ItemFactory makeItem_;
    std::vector<std::unique_ptr<TrayItem>> items_;
    sigc::connection changed_;
};

} // namespace ostrel
