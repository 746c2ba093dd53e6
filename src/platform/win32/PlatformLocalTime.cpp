// Local time on Windows.
#include "platform/PlatformLocalTime.h"

#include <windows.h>

#include <time.h>

namespace platform {

WallTime wallTime() {
    constexpr long long kTicksPerSecond = 10'000'000;
    constexpr long long kFrom1601To1970 = 11'644'473'600;
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    const long long ticks = static_cast<long long>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    return {ticks / kTicksPerSecond - kFrom1601To1970,
            static_cast<int>(ticks / (kTicksPerSecond / 1000) % 1000)};
}

LocalTime localTime(long long seconds) {
    const __time64_t time = seconds;
    tm parts = {};
    // The runtime, rather than the system's calls, so that TZ in the environment holds.
    _tzset();
    if (_localtime64_s(&parts, &time) != 0)
        return {};
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
            parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

}  // namespace platform
