// The fast block copy: picks the form for the processor.
#include <ztlib/ZtFastCopy.h>

#include <cstring>

#include "core/StreamCopy.h"

void* memcpy_amd(void* destination, const void* source, std::size_t count) {
    if (!destination || !source || destination == source)
        return destination;
#if defined(__SSE2__)
    const auto to = static_cast<unsigned char*>(destination);
    const auto from = static_cast<const unsigned char*>(source);
    if constexpr (sizeof(void*) == 4)
        return streamcopy::copyByMultimediaRegisters(to, from, count);
    else
        return streamcopy::copyByVectors(to, from, count);
#else
    return std::memcpy(destination, source, count);
#endif
}
