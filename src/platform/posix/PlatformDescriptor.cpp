// Descriptors of the kernel.
#include "platform/PlatformDescriptor.h"

#include <unistd.h>

#include "platform/posix/SystemCall.h"

namespace platform {

int readSome(int descriptor, void* buffer, std::size_t size) {
    return callSystem(Call::kReadFile, -1,
                      [=] { return static_cast<int>(::read(descriptor, buffer, size)); });
}

}  // namespace platform
