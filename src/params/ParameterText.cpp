// How values of parameters are printed and read.
#include "params/ParameterText.h"

#include <ztlib/ZtMemory.h>

#include "core/AsciiTables.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace parametertext {
namespace {

constexpr int kFloatDigits = 8;
constexpr int kDoubleDigits = 12;

void addOne(TextOut& out, int value) {
    out.addInteger(value);
}
void addOne(TextOut& out, float value) {
    out.addReal(static_cast<double>(value), kFloatDigits);
}
void addOne(TextOut& out, double value) {
    out.addReal(value, kDoubleDigits);
}

template <class T>
void addAll(TextOut& out, long long n, const void* values) {
    const T* const elements = static_cast<const T*>(values);
    for (long long i = 0; i < n; ++i) {
        if (i > 0)
            out.add(' ');
        addOne(out, elements[i]);
    }
}

const char* endOfWord(const char* p) {
    while (*p != '\0' && !ascii::isSpace(*p))
        ++p;
    return p;
}

const char* skipSpace(const char* p) {
    while (ascii::isSpace(*p))
        ++p;
    return p;
}

const char* skipDigits(const char* p) {
    while (ascii::isDigit(*p))
        ++p;
    return p;
}

bool endsWord(const char* p) {
    return *p == '\0' || ascii::isSpace(*p);
}

// Classifies the word at `p` and, when it is a number, moves there to its end.
Class classifyWord(const char*& p) {
    const char* at = p;
    if (*at == '+' || *at == '-')
        ++at;
    const char* const digits = at;
    at = skipDigits(at);
    bool hasDigits = at != digits;
    if (hasDigits && endsWord(at)) {
        p = at;
        return Class::kInteger;
    }
    // A word may begin with its exponent, but not with a point alone before it.
    bool mayHaveExponent = true;
    if (*at == '.') {
        const char* const fraction = ++at;
        at = skipDigits(at);
        hasDigits = hasDigits || at != fraction;
        mayHaveExponent = hasDigits;
    }
    if (mayHaveExponent && (*at == 'e' || *at == 'E')) {
        ++at;
        if (*at == '+' || *at == '-')
            ++at;
        const char* const exponent = at;
        at = skipDigits(at);
        hasDigits = at != exponent;
    }
    if (!hasDigits || !endsWord(at))
        return Class::kText;
    p = at;
    return Class::kReal;
}

}  // namespace

void addNumbers(TextOut& out, ZtPrimType type, int n, const void* values) {
    switch (type.getType()) {
        case ZtPrimType::BYTE:
            return addAll<unsigned char>(out, n, values);
        case ZtPrimType::SHORT:
            return addAll<short>(out, n, values);
        case ZtPrimType::INT:
            return addAll<int>(out, n, values);
        case ZtPrimType::FLOAT:
            return addAll<float>(out, n, values);
        case ZtPrimType::DOUBLE:
            return addAll<double>(out, n, values);
        case ZtPrimType::COMPLEX:
            return addAll<float>(out, 2LL * n, values);
        case ZtPrimType::USHORT:
            return addAll<unsigned short>(out, n, values);
        default:
            return out.addBlanks(n - 1LL);
    }
}

void addWithoutQuotes(TextOut& out, const char* text) {
    for (;;) {
        const std::size_t n = std::strcspn(text, "\"");
        out.add(text, n);
        if (text[n] == '\0')
            return;
        text += n + 1;
    }
}

bool isWithoutQuotes(const char* expected, const char* text) {
    for (;; ++text) {
        if (*text == '"')
            continue;
        if (*text != *expected)
            return false;
        if (*text == '\0')
            return true;
        ++expected;
    }
}

void addQuoted(TextOut& out, const char* text) {
    out.add('"');
    char last = '\0';
    for (;;) {
        const std::size_t n = std::strcspn(text, "\"");
        out.add(text, n);
        if (n > 0)
            last = text[n - 1];
        if (text[n] == '\0')
            break;
        if (last != '\\')
            out.add('\\');
        out.add('"');
        last = '"';
        text += n + 1;
    }
    if (last == '\\')
        out.add(' ');
    out.add('"');
}

Words classify(const char* text) {
    Words words;
    for (const char* p = skipSpace(text); *p != '\0'; p = skipSpace(p)) {
        const Class type = classifyWord(p);
        if (type == Class::kText)
            return {Class::kText, 0};
        if (words.count == INT_MAX)
            ztThrowMemoryException(SIZE_MAX);
        if (type > words.type)
            words.type = type;
        ++words.count;
    }
    if (words.count == 0)
        words.type = Class::kText;
    return words;
}

void readIntegers(const char* text, int* out) {
    for (const char* p = skipSpace(text); *p != '\0'; p = skipSpace(endOfWord(p)))
        numbertext::read(p, *out++);
}

void readReals(const char* text, float* out) {
    for (const char* p = skipSpace(text); *p != '\0';) {
        const char* const end = endOfWord(p);
        double value = 0;
        numbertext::read(p, end, value);
        *out++ = static_cast<float>(value);
        p = skipSpace(end);
    }
}

}  // namespace parametertext
