#include "support/loop.h"

namespace ostrel::test {

void pump(std::chrono::milliseconds d) {
    bool never = false;
    runLoopUntil([&] { return never; }, d);
}

void drain() {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

} // namespace ostrel::test
