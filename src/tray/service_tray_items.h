#pragma once
// The tray as one square item per service, for hosts that squeeze a wide icon into a square (KDE
// Plasma, Xfce): each item is the percentage left in large digits under the service's small logo, with the
// spoken text as its title and tooltip. With nothing to show, one item with the plain icon remains.
//
// The items show in the tabs' order (Claude, Cursor, Codex) on every kind of host: they register one
// after another, in that order or, for hosts that show the newest item first (Xfce), in reverse;
// a change in their number registers them all again, in order, once the number has settled: at
// start the services answer one after another, and items that come and go within moments crash
// Xfce's tray plugin. Hosts that sort items by title
// (Plasma) get titles that begin with the item's place: "Ostrel 1 of 3: Claude 43% left, …".

#include "base/gobject_ptr.h"
#include "model/usage_model.h"
#include "tray/tray_item.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <sigc++/connection.h>
#include <string>
#include <vector>

namespace ostrel {

// Whether the tray host named `host` (tray_host.h) shows the newest item first.
bool showsNewestFirst(const std::string& host);

class ServiceTrayItems {
  public:
    // `makeItem(index)` creates the index-th item (1, 2, …) with the app's actions.
    using ItemFactory = std::function<std::unique_ptr<TrayItem>(int index)>;

    // `settle`: how long the number of items must hold still before they are made again.
    ServiceTrayItems(UsageModel& model, ItemFactory makeItem, bool newestFirst = false,
                     std::chrono::milliseconds settle = std::chrono::milliseconds(0));
    ServiceTrayItems(const ServiceTrayItems&) = delete;
    ServiceTrayItems& operator=(const ServiceTrayItems&) = delete;
    ~ServiceTrayItems();

    void update();
    const std::vector<std::unique_ptr<TrayItem>>& items() const { return items_; }

  private:
    // Makes `count` items anew, each registering after the one before it in the host's order.
    void rebuild(std::size_t count);
    static gboolean onSettled(gpointer self);

    UsageModel& model_;
    ItemFactory makeItem_;
    bool newestFirst_;
    std::chrono::milliseconds settle_;
    SourceId settling_; // a rebuild waiting for the number to hold still
    std::vector<std::unique_ptr<TrayItem>> items_;
    sigc::connection changed_;
};

} // namespace ostrel
