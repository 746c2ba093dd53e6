// The performance counter.
#include "platform/PlatformClock.h"

#include <windows.h>

namespace platform {

long long clockTicks() {
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

double secondsPerTick() {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return 1.0 / static_cast<double>(frequency.QuadPart);
}

}  // namespace platform
