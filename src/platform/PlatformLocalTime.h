// The time of day, and what clocks on the wall show.
#pragma once

namespace platform {

/// A point in time: seconds since the start of 1970 in UTC, and milliseconds 0 .. 999.
struct WallTime {
    long long seconds;
    int milliseconds;
};

/// A time of the local zone: month 1 .. 12, day 1 .. 31.
struct LocalTime {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
};

/// Returns the time now, both parts from one reading of the clock.
WallTime wallTime();

/// Returns what the second is called here, by the time zone that the environment has now; all zeros
/// for one whose year does not fit.
LocalTime localTime(long long seconds);

}  // namespace platform
