// What the sources of ZtString share.
#pragma once

#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

namespace stringinternals {

/// A length as the array counts; one that leaves no room for a terminator is an exhausted memory.
inline int checkedLength(std::size_t length) {
    if (length >= INT_MAX)
        ztThrowMemoryException(length == SIZE_MAX ? length : length + 1);
    return static_cast<int>(length);
}

/// The length of a zero-terminated text, 0 for null.
inline std::size_t lengthOf(const char* text) {
    return text == nullptr ? 0 : std::strlen(text);
}

/// Whether `text` points at the string's own characters or its terminator.
inline bool isOwnText(const ZtString& string, const char* text) {
    const std::less<const char*> isBefore;
    const char* own = string.dataPtr();
    return string.size() > 0 && !isBefore(text, own) && isBefore(text, own + string.size());
}

/// Returns `use` of the zero-terminated text. That is the string's own unless operations of the
/// array have taken the terminator away; then it is a copy.
template <class Use>
auto withTerminated(const ZtString& string, Use use) {
    const char* text = string.getString();
    const int length = string.length();
    if (text[length] == '\0')
        return use(text);
    return use(ZtString(text, 0, length).getString());
}

}  // namespace stringinternals
