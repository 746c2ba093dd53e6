// The order in which standard output and standard error are led away and back, on every system.
#include <cerrno>
#include <cstdio>

#include "platform/PlatformOutput.h"

namespace platform {

int ConsoleCapture::start(int output) {
    if (!isStarted_) {
        std::fflush(stdout);
        const int error = keep();
        if (error != 0)
            return error;
    }
    isStarted_ = true;
    if (lead(output)) {
        std::fflush(stderr);
        return 0;
    }
    const int error = errno;
    stop();
    return error;
}

bool ConsoleCapture::stop() {
    if (!isStarted_)
        return true;
    std::fflush(stdout);
    std::fflush(stderr);
    isStarted_ = false;
    return restore();
}

}  // namespace platform
