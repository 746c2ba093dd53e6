// The changing part of identifiers: the second, and the counter of the process.
#pragma once

namespace uidtime {

/// A second since the start of 1970 and a counter from 1 to 999.
struct Moment {
    long long second;
    int counter;
};

/// Reads the clock and takes the next counter, which no other thread gets then.
Moment next();

/// Whether `next` waits for another second when it gave out 999 counters in one.
void setWait(bool wait);

/// The second as "YYYYMMDDhhmmss" in local time. Holds until the thread's next call.
const char* textOf(long long second);

}  // namespace uidtime
