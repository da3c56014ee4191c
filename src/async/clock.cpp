#include "async/clock.h"

#include "async/loop.h"

namespace ostrel {

Task<void> SystemClock::sleep(std::chrono::milliseconds d) {
    co_await sleepFor(d);
}

} // namespace ostrel
