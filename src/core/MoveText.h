// Moves short texts.
#pragma once

#include <ztlib/ZtString.h>

#include <cstddef>
#include <cstring>

/// Moves `n` characters as std::memmove does, without a call for the few of a word.
inline void moveText(char* out, const char* in, std::size_t n) {
    if (n > zt_detail::kShortText)
        std::memmove(out, in, n);
    else if (n > 0)
        zt_detail::moveShort(out, in, n);
}
