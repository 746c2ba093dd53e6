// The process on Windows.
#include "platform/PlatformProcess.h"

#include <windows.h>

namespace platform {

unsigned processId() {
    return GetCurrentProcessId();
}

}  // namespace platform
