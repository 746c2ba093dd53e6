// Numbers as text, without the locale of the process.
#include "core/NumberText.h"

#include "core/AsciiTables.h"

#include <bit>
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

struct PowersOf10 {
    unsigned long long power[20] = {};
    constexpr unsigned long long operator[](int i) const { return power[i]; }
};

constexpr PowersOf10 makePowersOf10() {
    PowersOf10 powers;
    unsigned long long power = 1;
    for (unsigned long long& each : powers.power) {
        each = power;
        power *= 10;
    }
    return powers;
}

constexpr PowersOf10 kPowersOf10 = makePowersOf10();

// Negated as unsigned, since the smallest value has no positive counterpart.
unsigned long long magnitudeOf(long long value) {
    const auto bits = static_cast<unsigned long long>(value);
    return value < 0 ? 0 - bits : bits;
}

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

int lengthOf(long long value) {
    const unsigned long long magnitude = magnitudeOf(value) | 1;  // 0 has a digit, too
    // 1233 / 4096 is close enough to log10(2): the guess from the bits is right or one too low.
    const int guess = static_cast<int>(std::bit_width(magnitude)) * 1233 >> 12;
    return guess + (magnitude >= kPowersOf10[guess] ? 1 : 0) + (value < 0 ? 1 : 0);
}

void write(char* out, int length, long long value) {
    unsigned long long rest = magnitudeOf(value);
    char* p = out + length;
    while (rest >= 100) {
        p -= 2;
        std::memcpy(p, kDigitPairs.text + 2 * (rest % 100), 2);
        rest /= 100;
    }
    if (rest >= 10)
        std::memcpy(p - 2, kDigitPairs.text + 2 * rest, 2);
    else
        p[-1] = static_cast<char>('0' + rest);
    if (value < 0)
        *out = '-';
}

char* writeReal(char* out, double value, int digits) {
    return std::to_chars(out, out + kMostRealCharacters, value, std::chars_format::general, digits)
        .ptr;
}

bool read(const char* text, long long& value) {
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

bool read(const char* text, int& value) {
    long long wide = 0;
    const bool ok = read(text, wide);
    if (wide < std::numeric_limits<int>::min())
        wide = std::numeric_limits<int>::min();
    if (wide > std::numeric_limits<int>::max())
        wide = std::numeric_limits<int>::max();
    value = static_cast<int>(wide);
    return ok;
}

bool read(const char* first, const char* last, float& value) {
    return readFloating(first, last, value);
}

bool read(const char* first, const char* last, double& value) {
    return readFloating(first, last, value);
}

}  // namespace numbertext
