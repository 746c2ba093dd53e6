// Character classes and case mapping of the C locale, independent of the process locale and of the
// signedness of char.
#pragma once

namespace ascii {

enum Class : unsigned char { kUpper = 1, kLower = 2, kDigit = 4, kSpace = 8 };

struct Tables {
    unsigned char classes[256] = {};
    char upper[256] = {};
    char lower[256] = {};
};

constexpr Tables makeTables() {
    Tables tables;
    for (int i = 0; i < 256; ++i) {
        const bool upper = i >= 'A' && i <= 'Z';
        const bool lower = i >= 'a' && i <= 'z';
        const bool digit = i >= '0' && i <= '9';
        const bool space = i == ' ' || (i >= '\t' && i <= '\r');
        tables.classes[i] = static_cast<unsigned char>((upper ? kUpper : 0) | (lower ? kLower : 0) |
                                                       (digit ? kDigit : 0) | (space ? kSpace : 0));
        tables.upper[i] = static_cast<char>(lower ? i - 'a' + 'A' : i);
        tables.lower[i] = static_cast<char>(upper ? i - 'A' + 'a' : i);
    }
    return tables;
}

inline constexpr Tables kTables = makeTables();

constexpr bool isOfClass(char c, int classes) {
    return (kTables.classes[static_cast<unsigned char>(c)] & classes) != 0;
}
constexpr bool isSpace(char c) {
    return isOfClass(c, kSpace);
}
constexpr bool isDigit(char c) {
    return isOfClass(c, kDigit);
}
constexpr char toUpper(char c) {
    return kTables.upper[static_cast<unsigned char>(c)];
}
constexpr char toLower(char c) {
    return kTables.lower[static_cast<unsigned char>(c)];
}

}  // namespace ascii
