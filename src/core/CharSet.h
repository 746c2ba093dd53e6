// A set of characters and the search for the next one in it.
#pragma once

/// A set of characters: character c is bit c % 32, counted from the least significant one, of word
/// c / 32, as in a `ZtBitfield` of 256 bits.
struct CharSet {
    static constexpr int kWords = 8;

    unsigned words[kWords] = {};

    /// The characters of a zero-terminated text.
    explicit constexpr CharSet(const char* text) {
        for (; *text != '\0'; ++text)
            words[wordOf(*text)] |= bitOf(*text);
    }
    /// The union of this set and one that is given by its words.
    CharSet operator|(const unsigned* others) const {
        CharSet result = *this;
        for (int i = 0; i < kWords; ++i)
            result.words[i] |= others[i];
        return result;
    }

    static constexpr bool contains(const unsigned* words, char c) {
        return (words[wordOf(c)] & bitOf(c)) != 0;
    }
    /// The first character of [p, last) that is in the set, or `last`.
    static const char* find(const unsigned* words, const char* p, const char* last);

private:
    static constexpr int wordOf(char c) { return static_cast<unsigned char>(c) / 32; }
    static constexpr unsigned bitOf(char c) { return 1u << static_cast<unsigned char>(c) % 32; }
};
