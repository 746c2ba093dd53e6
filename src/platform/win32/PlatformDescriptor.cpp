// Descriptors of the C runtime, which no signal interrupts.
#include "platform/PlatformDescriptor.h"

#include <io.h>

#include <cerrno>

#include "platform/PlatformFaults.h"

namespace platform {

int readSome(int descriptor, void* buffer, std::size_t size) {
    do
        errno = faultOf(Call::kReadFile);
    while (errno == EINTR);
    return errno == 0 ? _read(descriptor, buffer, static_cast<unsigned>(size)) : -1;
}

}  // namespace platform
