// A set of characters and the search for the next one in it.
#pragma once

namespace charset {

/// The bytes of a set: character c is bit c / 16 % 8 of byte c / 128 * 16 + c % 16, so that sixteen
/// characters are looked up at a time.
inline constexpr int kBytes = 32;

constexpr int byteOf(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code / 128 * 16 + code % 16;
}
constexpr int bitOf(char c) {
    return static_cast<unsigned char>(c) / 16 % 8;
}

constexpr void add(unsigned char* set, char c) {
    set[byteOf(c)] = static_cast<unsigned char>(set[byteOf(c)] | 1 << bitOf(c));
}

constexpr void addAll(unsigned char* set, const char* text) {
    for (; *text != '\0'; ++text)
        add(set, *text);
}

constexpr bool contains(const unsigned char* set, char c) {
    return (set[byteOf(c)] >> bitOf(c) & 1) != 0;
}

/// The first character of [p, last) that is in the set, or `last`.
const char* find(const unsigned char* set, const char* p, const char* last);

}  // namespace charset
