// Calls of the system that may be interrupted, and that a test may make fail.
#pragma once

#include <sys/stat.h>

#include <cerrno>

#include "platform/PlatformFaults.h"
#include "platform/PlatformFile.h"

namespace platform {

/// Makes a call that returns `failure` and sets `errno` when it fails, again as long as a signal
/// interrupts it.
template <class Result, class Operation>
Result callSystem(Call call, Result failure, Operation operation) {
    for (;;) {
        errno = faultOf(call);
        const Result result = errno == 0 ? operation() : failure;
        if (result != failure || errno != EINTR)
            return result;
    }
}

/// The same for calls that return -1 when they fail; returns the error, 0 for success.
template <class Operation>
int errorOf(Call call, Operation operation) {
    return callSystem(call, -1, operation) == -1 ? errno : 0;
}

/// The kind of an entry with these mode bits.
inline EntryKind kindOfMode(mode_t mode) {
    return S_ISDIR(mode)   ? EntryKind::kDirectory
           : S_ISREG(mode) ? EntryKind::kFile
           : S_ISLNK(mode) ? EntryKind::kLink
                           : EntryKind::kOther;
}

}  // namespace platform
