// The system's finest clock that never goes back.
#pragma once

namespace platform {

/// Returns the clock's ticks since some time in the past.
long long clockTicks();

/// Returns how long a tick is.
double secondsPerTick();

}  // namespace platform
