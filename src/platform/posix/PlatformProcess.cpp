// The process, by the calls of POSIX.
#include "platform/PlatformProcess.h"

#include <unistd.h>

namespace platform {

unsigned processId() {
    return static_cast<unsigned>(getpid());
}

}  // namespace platform
