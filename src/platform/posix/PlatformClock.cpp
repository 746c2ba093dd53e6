// The monotonic clock, in nanoseconds.
#include "platform/PlatformClock.h"

#include <ctime>

namespace platform {

long long clockTicks() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

double secondsPerTick() {
    return 1e-9;
}

}  // namespace platform
