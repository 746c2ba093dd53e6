// Data pointers: item sizes, casts and copies.
#include <ztlib/ZtDataPointer.h>
#include <ztlib/ZtMemory.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

long long ZtDataPointer::itemBytes() const {
    return static_cast<long long>(nComponents_) * type_.memsize();
}

int ZtDataPointer::dataElemSize() const {
    return static_cast<int>(std::clamp<long long>(itemBytes(), INT_MIN, INT_MAX));
}

ZtDataPointer ZtDataPointer::constCast(int access) const {
    ZtDataPointer copy = *this;
    if (access & 1)
        copy.forceConst();
    else
        copy.forceNonConst();
    return copy;
}

ZtDataPointer ZtDataPointer::duplicateData() const {
    const auto wanted = static_cast<unsigned long long>(std::max(itemBytes(), 0LL));
    // More than the address space holds is asked for as its largest size, which the allocation
    // refuses.
    const auto bytes = static_cast<std::size_t>(std::min<unsigned long long>(wanted, SIZE_MAX));
    ZtDataPointer copy = *this;
    copy.pointer_ = ztmalloc(bytes);
    if (bytes > 0 && pointer_)
        std::memcpy(copy.pointer_, pointer_, bytes);
    else if (bytes > 0)
        std::memset(copy.pointer_, 0, bytes);
    return copy;
}
