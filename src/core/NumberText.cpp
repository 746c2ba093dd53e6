#include "core/NumberText.h"

#include "core/AsciiTables.h"

#include <charconv>
#include <cstring>
#include <limits>

namespace numbertext {
namespace {

struct DigitPairs {
    char text[200] = {};
};

constexpr DigitPairs makeDigitPairs() {
    DigitPairs pairs;
    for (int i = 0; i < 100; ++i) {
        pairs.text[2 * i] = static_cast<char>('0' + i / 10);
        pairs.text[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}

constexpr DigitPairs kDigitPairs = makeDigitPairs();

unsigned digitAt(const char* p) {
    return static_cast<unsigned char>(*p) - unsigned{'0'};
}

char lowerAt(const char* p, const char* last) {
    return p < last ? ascii::toLower(*p) : '\0';
}

bool startsWith(const char* p, const char* last, const char* lowerWord) {
    while (*lowerWord != '\0')
        if (lowerAt(p++, last) != *lowerWord++)
            return false;
    return true;
}

// Whether a decimal or hexadecimal number (after its "0x"), known not to be zero and to lie beyond
// the range of the type, is too large rather than too small: its leading digit's position plus its
// exponent decides, and is far from 0 in either case.
bool isTooLarge(const char* p, const char* last, bool isHex) {
    const char exponentMark = isHex ? 'p' : 'e';
    const int perDigit = isHex ? 4 : 1;
    constexpr long long kEnough = 1LL << 40;
    long long position = 0;
    bool isLeading = true;
    bool isFraction = false;
    for (; p < last && lowerAt(p, last) != exponentMark; ++p) {
        if (*p == '.')
            isFraction = true;
        else if (!ascii::isDigit(*p) && !isHex)
            break;
        else if (isLeading && *p == '0')
            position -= isFraction ? perDigit : 0;
        else {
            isLeading = false;
            position += isFraction ? 0 : perDigit;
        }
    }
    if (lowerAt(p, last) != exponentMark)
        return position > 0;
    const bool isNegative = lowerAt(++p, last) == '-';
    if (isNegative || lowerAt(p, last) == '+')
        ++p;
    long long exponent = 0;
    for (; p < last && ascii::isDigit(*p) && exponent < kEnough; ++p)
        exponent = exponent * 10 + digitAt(p);
    return position + (isNegative ? -exponent : exponent) > 0;
}

template <class T>
bool readFloating(const char* p, const char* last, T& value) {
    value = 0;
    while (p < last && ascii::isSpace(*p))
        ++p;
    const bool isNegative = p < last && *p == '-';
    if (isNegative || (p < last && *p == '+'))
        ++p;
    if (p == last || *p == '-')  // from_chars would take a second sign
        return false;
    if (startsWith(p, last, "infi") && !startsWith(p, last, "infinity"))
        return false;
    const bool isHex = startsWith(p, last, "0x");
    if (isHex)
        p += 2;
    if (isHex && p < last && *p == '-')
        return false;
    T magnitude = 0;
    const auto format = isHex ? std::chars_format::hex : std::chars_format::general;
    const std::from_chars_result result = std::from_chars(p, last, magnitude, format);
    if (result.ec == std::errc::invalid_argument)
        return false;
    if (result.ec == std::errc::result_out_of_range)
        magnitude = isTooLarge(p, result.ptr, isHex) ? std::numeric_limits<T>::infinity() : T{0};
    value = isNegative ? -magnitude : magnitude;
    return true;
}

}  // namespace

int writeInt(char* out, long long value) {
    // Negated as unsigned, since the smallest value has no positive counterpart.
    unsigned long long rest = static_cast<unsigned long long>(value);
    if (value < 0)
        rest = 0 - rest;
    char digits[kMaxIntText];
    char* first = digits + sizeof digits;
    while (rest >= 100) {
        first -= 2;
        std::memcpy(first, kDigitPairs.text + 2 * (rest % 100), 2);
        rest /= 100;
    }
    if (rest >= 10) {
        first -= 2;
        std::memcpy(first, kDigitPairs.text + 2 * rest, 2);
    } else {
        *--first = static_cast<char>('0' + rest);
    }
    if (value < 0)
        *--first = '-';
    const auto length = digits + sizeof digits - first;
    std::memcpy(out, first, static_cast<size_t>(length));
    return static_cast<int>(length);
}

bool readInt(const char* text, long long& value) {
    constexpr unsigned long long kMax = std::numeric_limits<long long>::max();
    while (ascii::isSpace(*text))
        ++text;
    const bool isNegative = *text == '-';
    if (isNegative || *text == '+')
        ++text;
    unsigned digit = digitAt(text);
    value = 0;
    if (digit > 9)
        return false;
    const unsigned long long limit = kMax + (isNegative ? 1 : 0);
    unsigned long long magnitude = 0;
    for (; digit <= 9; digit = digitAt(++text)) {
        if (magnitude > (limit - digit) / 10) {
            magnitude = limit;
            break;
        }
        magnitude = magnitude * 10 + digit;
    }
    value = static_cast<long long>(isNegative ? 0 - magnitude : magnitude);
    return true;
}

bool readInt(const char* text, int& value) {
    long long wide = 0;
    const bool ok = readInt(text, wide);
    if (wide < std::numeric_limits<int>::min())
        wide = std::numeric_limits<int>::min();
    if (wide > std::numeric_limits<int>::max())
        wide = std::numeric_limits<int>::max();
    value = static_cast<int>(wide);
    return ok;
}

bool readFloat(const char* first, const char* last, float& value) {
    return readFloating(first, last, value);
}

bool readFloat(const char* first, const char* last, double& value) {
    return readFloating(first, last, value);
}

}  // namespace numbertext
