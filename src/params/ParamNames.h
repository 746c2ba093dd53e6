// The names of parameters and bundles: how they are kept, and how keys are compared with them.
#pragma once

#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include "core/AsciiTables.h"

#include <cstddef>
#include <cstring>

namespace paramnames {

/// A block with a copy of a text; null counts as empty.
inline char* copyOf(const char* text) {
    const std::size_t size = text == nullptr ? 1 : std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(ztmalloc(size), text == nullptr ? "" : text, size));
}

struct StoredTable {
    unsigned char upper[256] = {};
};

constexpr StoredTable makeStoredTable() {
    StoredTable table;
    for (int i = 0; i < 256; ++i)
        table.upper[i] = i == ' ' ? 0 : static_cast<unsigned char>(ascii::kTables.upper[i]);
    return table;
}

/// Characters of a stored name, as they are compared: in upper case, 0 where the name ends.
inline constexpr StoredTable kStored = makeStoredTable();

constexpr unsigned char storedAt(const char* p) {
    return kStored.upper[static_cast<unsigned char>(*p)];
}

/// What a name is looked up by. A null text sorts before all names.
struct Key {
    const char* text;
    bool isMangled;  ///< there is a '_' before the text, since no name begins with a digit

    /// A key from a caller.
    static Key of(const char* text) { return {text, text != nullptr && ascii::isDigit(*text)}; }
    /// A name as it stands.
    static Key exactly(const char* text) { return {text, false}; }
};

/// The first character that is compared, of a key that is not null.
inline unsigned char initialOf(Key key) {
    return static_cast<unsigned char>(key.isMangled ? '_' : ascii::toUpper(*key.text));
}

/// The name that is stored for a key.
class StoredName {
public:
    explicit StoredName(Key key) : given_(key.text) {
        if (key.isMangled)
            mangled_ = ZtString("_") + key.text;
    }
    const char* text() const { return mangled_.length() > 0 ? mangled_.getString() : given_; }

private:
    const char* given_;
    ZtString mangled_;
};

/// Compares the rest of a key with the rest of a stored name, which `ends(p)` tells the end of.
template <class Ends>
int compareRest(const char* key, const char* stored, Ends ends) {
    for (;; ++key, ++stored) {
        const auto k = static_cast<unsigned char>(ascii::toUpper(*key));
        const auto s = ends(stored) ? static_cast<unsigned char>(0) : storedAt(stored);
        if (k != s)
            return k < s ? -1 : 1;
        if (k == 0)
            return 0;
    }
}

template <class Ends>
int compareUntil(Key key, const char* stored, Ends ends) {
    if (key.text == nullptr)
        return -1;
    if (key.isMangled) {
        const int first =
            compareRest("_", stored, [&](const char* p) { return p != stored || ends(p); });
        if (first != 0)
            return first;
        ++stored;
    }
    return compareRest(key.text, stored, ends);
}

/// Negative, 0 or positive as the key sorts before a stored name, matches it, or sorts after it.
/// Case does not count, and a blank ends the stored name, but not the key.
inline int compare(Key key, const char* stored) {
    return compareUntil(key, stored, [](const char*) { return false; });
}

/// Compares two stored names: a blank ends either, so that this is an order.
inline int compareStored(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const unsigned char upperA = storedAt(a);
        const unsigned char upperB = storedAt(b);
        if (upperA != upperB)
            return upperA < upperB ? -1 : 1;
        if (upperA == 0)
            return 0;
    }
}

/// Whether the key matches one of the first 16 words of a text.
inline bool isOneOfWords(Key key, const char* text) {
    constexpr int kMostWords = 16;
    for (int i = 0; i < kMostWords; ++i) {
        while (ascii::isSpace(*text))
            ++text;
        if (*text == '\0')
            return false;
        if (compareUntil(key, text, [](const char* p) { return ascii::isSpace(*p); }) == 0)
            return true;
        while (*text != '\0' && !ascii::isSpace(*text))
            ++text;
    }
    return false;
}

}  // namespace paramnames
