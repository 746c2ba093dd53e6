// Local time by the calls of POSIX.
#include "platform/PlatformLocalTime.h"

#include <time.h>

namespace platform {

WallTime wallTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return {now.tv_sec, static_cast<int>(now.tv_nsec / 1'000'000)};
}

LocalTime localTime(long long seconds) {
    const time_t time = static_cast<time_t>(seconds);
    // localtime_r alone would keep to the zone that the environment had at first.
    tzset();
    tm parts = {};
    if (!localtime_r(&time, &parts))
        return {};
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
            parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

}  // namespace platform
