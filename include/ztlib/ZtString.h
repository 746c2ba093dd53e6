// ZtString: the library's text class.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtFormatCheck.h>
#include <ztlib/ZtHandable.h>

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <type_traits>

// Some runtimes define these as macros, depending on the optimisation level.
#undef strcasecmp
#undef strncasecmp

namespace zt_detail {

inline constexpr std::size_t kShortText = 16;

/// Moves 1 to `kShortText` characters. All are read before one is written, so they may overlap.
inline void moveShort(char* out, const char* in, std::size_t n) {
    if (n >= 8) {
        unsigned long long words[2];
        std::memcpy(&words[0], in, 8);
        std::memcpy(&words[1], in + n - 8, 8);
        std::memcpy(out, &words[0], 8);
        std::memcpy(out + n - 8, &words[1], 8);
    } else if (n >= 4) {
        unsigned words[2];
        std::memcpy(&words[0], in, 4);
        std::memcpy(&words[1], in + n - 4, 4);
        std::memcpy(out, &words[0], 4);
        std::memcpy(out + n - 4, &words[1], 4);
    } else {
        const char first = in[0];
        const char middle = in[n / 2];
        const char last = in[n - 1];
        out[0] = first;
        out[n / 2] = middle;
        out[n - 1] = last;
    }
}

}  // namespace zt_detail

/// A text of 8-bit characters, kept with a terminating zero byte in a growable array whose size is
/// length + 1. It may hold zero bytes inside; operations that take a `const char*` see the text up
/// to its first zero byte, a null pointer as the empty text unless they say otherwise.
///
/// Texts are compared as unsigned bytes. Character classes and case are those of ASCII, numbers are
/// printed and read alike in every locale; only `printf` formats as the C runtime does.
///
/// Every operation takes the string's own text as an argument. Growth follows the array's rule and
/// throws `ZtMemoryException` when memory is exhausted; the string is then as it was. Operations
/// inherited from the array see the terminator as an element like any other. A string of size 0
/// (released, or raw zero-filled memory) counts as the empty text. A string is used by one thread
/// at a time.
class ZTLIB_API ZtString : public ZtHandable, public ZtDArray<char, 1> {
public:
    /// The empty text, with room for 15 characters.
    ZtString();
    /// A copy of `text`, with room for at least 15 characters.
    ZtString(const char* text);
    /// A copy of the `count` characters from `text + start`, zero bytes included, in a buffer of
    /// just that size. Expects them to be readable; a negative count is 0.
    ZtString(const char* text, int start, int count);
    /// The formatted text, as by `printf`; the number only selects this constructor (give 0).
    ZtString(int, const char* format, ...) ZT_FORMAT_CHECK(3, 4);
    /// A copy in a buffer of just its size.
    ZtString(const ZtString& other);
    /// Takes the text of `other`, which is left with size 0.
    ZtString(ZtString&& other) noexcept;
    ~ZtString() override;

    /// Becomes a copy of the text; null makes it empty.
    ZtString& operator=(const char* text);
    ZtString& operator=(const ZtString& other);

    /// Appends `text`; null is ignored.
    ZtString& operator+=(const char* text) {
        if (text == nullptr)
            return *this;
        const std::size_t n = std::strlen(text);
        // A short text and its end are a few loads and stores in place of a call.
        if (__builtin_expect(n >= zt_detail::kShortText || !hasRoomFor(static_cast<int>(n)), false))
            return appendText(text, n);
        char* const end = dataPtr() + size() - 1;
        setSize(size() + static_cast<int>(n));
        if (__builtin_constant_p(n))
            std::memcpy(end, text, n + 1);
        else
            zt_detail::moveShort(end, text, n + 1);
        return *this;
    }
    /// Appends all characters of `text`.
    ZtString& operator+=(const ZtString& text) {
        return appendText(text.getString(), static_cast<std::size_t>(text.length()));
    }
    ZtString& operator+=(char c) {
        if (__builtin_expect(!hasRoomFor(1), false)) {
            const char text[] = {c};
            return appendText(text, 1);
        }
        const int n = size();
        char* const end = dataPtr() + n;
        end[-1] = c;
        end[0] = '\0';
        setSize(n + 1);
        return *this;
    }
    /// This text followed by the other, in a buffer of just that size.
    ZtString operator+(const ZtString& other) const;

    /// Makes the text empty and keeps the buffer.
    void clear();
    /// Replaces the text by the decimal digits of `value`.
    void setInt64(long long value);
    /// The decimal digits of `value`.
    static ZtString fromInt64(long long value);

    /// The characters and their terminator. For a string of size 0 the non-const form makes it the
    /// empty text first.
    char* getString() {
        if (size() == 0)
            clear();
        return dataPtr();
    }
    const char* getString() const { return size() == 0 ? "" : dataPtr(); }
    int length() const {
        const int n = size();
        return n - (n > 0 ? 1 : 0);
    }
    /// Whether the length is 0 or the first character is a zero byte.
    bool isEmptyString() const { return size() < 2 || *dataPtr() == '\0'; }

    /// Whether all characters are ASCII letters, digits, or either; so is the empty text.
    bool isAlpha() const;
    bool isDigit() const;
    bool isAlnum() const;

    /// The decimal integer after leading white space, 0 when there is none; clamped to the range of
    /// the type. What follows its digits is ignored. `ok` tells whether there was one.
    int toInt() const;
    int toInt(bool& ok) const;
    int toInt(bool* ok) const;
    /// The floating-point number after leading white space (decimal, hexadecimal, infinity or NaN),
    /// 0 when there is none. `ok` tells whether there was one.
    float toFloat() const;
    float toFloat(bool& ok) const;
    float toFloat(bool* ok) const;
    /// The 64-bit decimal integer, read and clamped as by `toInt`.
    long long toInt64() const;
    static long long toInt64(const char* text);

    /// Compare without regard to the case of ASCII letters; `n` is the most characters to compare.
    /// Return a negative number, 0 or a positive number.
    static int strcasecmp(const char* a, const char* b);
    static int strncasecmp(const char* a, const char* b, int n);

    // Against a char* the array's conversion to a pointer would compete, hence the templates, which
    // take that type and no other; literals, null pointers and const char* go to the plain forms.
    // Both come in the same shapes for the text at the right and at the left: where the language
    // may turn `a != b` into `!(b == a)`, none of those then fits better than what is written here.
    /// bool for the comparison of characters that may be written to, else nothing.
    template <class C>
    using IfChar = std::enable_if_t<std::is_same_v<C, char>, bool>;

    bool operator==(const ZtString& other) const {
        const int n = size();
        if (n != other.size())
            return n < 2 && other.size() < 2;  // 0 and 1 are both the empty text
        return n < 2 || areEqual(dataPtr(), other.dataPtr(), static_cast<std::size_t>(n - 1));
    }
    /// A null pointer is not equal, and not different either, unless this string's size is 0.
    bool operator==(const char* text) const {
        return text != nullptr && equals(text, std::strlen(text));
    }
    bool operator!=(const char* text) const {
        return text == nullptr ? size() == 0 : !equals(text, std::strlen(text));
    }
    bool operator!=(const ZtString& other) const { return !(*this == other); }
    bool operator<(const ZtString& other) const { return compare(other) < 0; }
    bool operator<=(const ZtString& other) const { return compare(other) <= 0; }
    bool operator>(const ZtString& other) const { return compare(other) > 0; }
    bool operator>=(const ZtString& other) const { return compare(other) >= 0; }
    bool operator<(const char* text) const { return compare(text) < 0; }
    bool operator<=(const char* text) const { return compare(text) <= 0; }
    bool operator>(const char* text) const { return compare(text) > 0; }
    bool operator>=(const char* text) const { return compare(text) >= 0; }
    template <class C>
    IfChar<C> operator==(C* text) const {
        return *this == static_cast<const char*>(text);
    }
    template <class C>
    IfChar<C> operator!=(C* text) const {
        return *this != static_cast<const char*>(text);
    }
    template <class C>
    IfChar<C> operator<(C* text) const {
        return *this < static_cast<const char*>(text);
    }
    template <class C>
    IfChar<C> operator<=(C* text) const {
        return *this <= static_cast<const char*>(text);
    }
    template <class C>
    IfChar<C> operator>(C* text) const {
        return *this > static_cast<const char*>(text);
    }
    template <class C>
    IfChar<C> operator>=(C* text) const {
        return *this >= static_cast<const char*>(text);
    }

    /// With the text at the left. Without these, the array's conversion would compare the pointers.
    friend bool operator==(const char* text, const ZtString& string) { return string == text; }
    friend bool operator!=(const char* text, const ZtString& string) { return string != text; }
    friend bool operator<(const char* text, const ZtString& string) { return string > text; }
    friend bool operator<=(const char* text, const ZtString& string) { return string >= text; }
    friend bool operator>(const char* text, const ZtString& string) { return string < text; }
    friend bool operator>=(const char* text, const ZtString& string) { return string <= text; }
    template <class C>
    friend IfChar<C> operator==(C* text, const ZtString& string) {
        return string == text;
    }
    template <class C>
    friend IfChar<C> operator!=(C* text, const ZtString& string) {
        return string != text;
    }
    template <class C>
    friend IfChar<C> operator<(C* text, const ZtString& string) {
        return string > text;
    }
    template <class C>
    friend IfChar<C> operator<=(C* text, const ZtString& string) {
        return string >= text;
    }
    template <class C>
    friend IfChar<C> operator>(C* text, const ZtString& string) {
        return string < text;
    }
    template <class C>
    friend IfChar<C> operator>=(C* text, const ZtString& string) {
        return string <= text;
    }

    /// Whether the texts are equal, if asked for without regard to the case of ASCII letters.
    bool isEqualTo(const ZtString& other, bool ignoreCase = false) const;

    /// The offset of the first occurrence of `text` at or after `start`, -1 when there is none or
    /// `start` is not in 0 .. length. The empty text occurs everywhere.
    int index(const char* text) const;
    int index(const char* text, int start) const;
    /// The first offset at or after `start` that holds `c`, else -1. The terminator takes part.
    int index(char c, int start = 0) const;
    /// The last offset at or before `start` that holds `c`, else -1. The terminator takes part; a
    /// `start` that is negative or past it stands for it.
    int rindex(char c, int start = -1) const;
    /// The offset of the first occurrence of `text` regardless of case, else -1.
    int iindex(const char* text) const;
    /// Whether the text matches the pattern, as by `ztWildMatch`.
    bool matches(const char* pattern) const;

    /// Map the ASCII letters.
    ZtString& toUpper();
    ZtString& toLower();
    /// Removes spaces (not tabs) from both ends. The first character is never removed as a trailing
    /// one, so a text of spaces only becomes one space.
    void unpad();
    /// Inserts `text` before the offset `pos`. Expects 0 <= pos <= length.
    void insertStr(int pos, const char* text);
    /// Drops the last `n` characters, all when there are fewer.
    void removeLast(int n = 1);
    void replace(char from, char to);
    /// Replaces every occurrence of `from`, found from left to right without overlap, by `to`. An
    /// empty `from` changes nothing.
    void replaceSubStr(const char* from, const char* to);
    /// The characters from offset `from` to offset `to`, both included. Expects them to be offsets
    /// of the text or its terminator; empty when `to` < `from`.
    ZtString substr(int from, int to) const;
    /// Fills `pieces` with what stands before, between and after the separators, and returns how
    /// many there are: always one more than there are separators. `pieces` may hold this string; it
    /// stays as it was when memory is exhausted.
    int explode(char separator, ZtDArray<ZtString, 1>& pieces) const;
    /// A copy for command lines and parameter files: double quotes and backslashes are preceded by
    /// a backslash, and the whole stands in double quotes when it is empty, holds white space, or
    /// `forceQuotes` is set.
    ZtString protect(bool forceQuotes = false) const;

    /// Replaces the text by the formatted one and returns `getString`. The capacity grows as if the
    /// buffer (64 bytes for an empty text, else the current size) were doubled until the text and
    /// its terminator fit. A format that the C runtime rejects gives the empty text.
    char* printf(const char* format, ...) ZT_FORMAT_CHECK(2, 3);
    char* vprintf(const char* format, std::va_list arguments) ZT_FORMAT_CHECK(2, 0);

private:
    friend class ZtStringTokenizer;

    // Its messages start without a buffer, since they may have to say that memory is exhausted.
    friend class ZtException;
    struct WithoutBuffer {};
    explicit ZtString(WithoutBuffer) noexcept {}

    enum class Capacity : int {};
    /// The empty text in a buffer of just that size (at least 1).
    explicit ZtString(Capacity capacity);

    bool hasRoomFor(int n) const { return size() > 0 && n <= getMax() - size(); }

    ZtString& appendText(const char* text, std::size_t n);
    ZtString& insertText(int pos, const char* text, std::size_t n);
    ZtString& assign(const char* text, std::size_t n);
    char* takeFormatted(const char* buffer, int result);
    char* formatLong(int newLength, const char* format, std::va_list arguments)
        ZT_FORMAT_CHECK(3, 0);

    static bool areEqual(const char* a, const char* b, std::size_t n) {
        if (n < 8 || n > 16)
            return std::memcmp(a, b, n) == 0;
        // Names of this length are the usual case: four words in place of a call.
        unsigned long long words[4];
        std::memcpy(&words[0], a, 8);
        std::memcpy(&words[1], b, 8);
        std::memcpy(&words[2], a + n - 8, 8);
        std::memcpy(&words[3], b + n - 8, 8);
        return ((words[0] ^ words[1]) | (words[2] ^ words[3])) == 0;
    }
    bool equals(const char* text, std::size_t n) const {
        return n == static_cast<std::size_t>(length()) && std::memcmp(getString(), text, n) == 0;
    }
    int compare(const ZtString& other) const;
    int compare(const char* text) const;
};
