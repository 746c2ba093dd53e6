// ZtString: formatting, and conversion from and to numbers.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include "core/MoveText.h"
#include "core/NumberText.h"
#include "core/StringInternals.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

using namespace stringinternals;

namespace {

constexpr int kFirstFormatSize = 64;
constexpr int kStackBufferSize = 1024;

// Ends an argument list also where an exception leaves.
struct EndOfArguments {
    std::va_list& arguments;
    ~EndOfArguments() { va_end(arguments); }
};

// Returns the length of the formatted text, which is cut where the buffer ends, or a negative
// number.
int formatInto(char (&buffer)[kStackBufferSize], const char* format, std::va_list arguments) {
    if (format == nullptr)
        return 0;
    // Without clearing errno first, which is the caller's and may even be asked for by the format.
    return std::vsnprintf(buffer, sizeof buffer, format, arguments);
}

// The capacity of a string of that size and capacity after `length` characters were formatted into
// it: the buffer doubles until they fit, and one that they just fill grows by the terminator.
int capacityForFormatted(int size, int capacity, int length) {
    const auto grow = [&capacity](int oldSize, long long needed) {
        if (needed > INT_MAX)
            ztThrowMemoryException(static_cast<std::size_t>(needed));
        if (needed > capacity)
            capacity = static_cast<int>(std::clamp<long long>(3LL * oldSize / 2, needed, INT_MAX));
    };
    if (size < 2) {
        grow(size, kFirstFormatSize);
        size = kFirstFormatSize;
    }
    for (; size < length; size *= 2)
        grow(size, 2LL * size);
    if (size == length)
        grow(size, size + 1LL);
    return capacity;
}

}  // namespace

ZtString::ZtString(int, const char* format, ...) : ZtString() {
    std::va_list arguments;
    va_start(arguments, format);
    const EndOfArguments end{arguments};
    vprintf(format, arguments);
}

// The arguments may hold the string's own text, so that stays untouched until all is formatted:
// into a buffer on the stack, and once more into a new one of the string's where that is too short.
char* ZtString::printf(const char* format, ...) {
    char buffer[kStackBufferSize];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = formatInto(buffer, format, arguments);
    va_end(arguments);
    if (length < kStackBufferSize)
        return takeFormatted(buffer, length);
    va_start(arguments, format);
    const EndOfArguments end{arguments};
    return formatLong(length, format, arguments);
}

char* ZtString::vprintf(const char* format, std::va_list arguments) {
    char buffer[kStackBufferSize];
    std::va_list again;
    va_copy(again, arguments);
    const EndOfArguments end{again};
    const int length = formatInto(buffer, format, arguments);
    return length < kStackBufferSize ? takeFormatted(buffer, length)
                                     : formatLong(length, format, again);
}

// Takes the result of formatting into a buffer, negative if that failed.
char* ZtString::takeFormatted(const char* buffer, int result) {
    if (result < 0 && errno == EOVERFLOW)
        ztThrowMemoryException(INT_MAX);
    const int newLength = std::max(result, 0);
    const int capacity = capacityForFormatted(size(), getMax(), newLength);
    if (capacity > getMax())
        remax(capacity);
    char* const text = dataPtr();
    moveText(text, buffer, static_cast<std::size_t>(newLength));
    text[newLength] = '\0';
    setSize(newLength + 1);
    return text;
}

char* ZtString::formatLong(int newLength, const char* format, std::va_list arguments) {
    const int capacity = capacityForFormatted(size(), getMax(), newLength);
    char* const text = static_cast<char*>(ztmalloc(static_cast<std::size_t>(capacity)));
    std::vsnprintf(text, static_cast<std::size_t>(newLength) + 1, format, arguments);
    ztfree(dataPtr());
    setRawData(capacity, text);
    setSize(newLength + 1);
    return text;
}

void ZtString::setInt64(long long value) {
    const int n = numbertext::lengthOf(value);
    resize(n + 1);
    char* const text = dataPtr();
    numbertext::write(text, n, value);
    text[n] = '\0';
}

ZtString ZtString::fromInt64(long long value) {
    ZtString text;
    text.setInt64(value);
    return text;
}

int ZtString::toInt(bool& ok) const {
    return withTerminated(*this, [&ok](const char* text) {
        int value = 0;
        ok = numbertext::read(text, value);
        return value;
    });
}

int ZtString::toInt() const {
    bool ok = false;
    return toInt(ok);
}

int ZtString::toInt(bool* ok) const {
    bool isNumber = false;
    return toInt(ok == nullptr ? isNumber : *ok);
}

float ZtString::toFloat(bool& ok) const {
    float value = 0;
    ok = numbertext::read(getString(), getString() + length(), value);
    return value;
}

float ZtString::toFloat() const {
    bool ok = false;
    return toFloat(ok);
}

float ZtString::toFloat(bool* ok) const {
    bool isNumber = false;
    return toFloat(ok == nullptr ? isNumber : *ok);
}

long long ZtString::toInt64() const {
    return withTerminated(*this, [](const char* text) { return toInt64(text); });
}

long long ZtString::toInt64(const char* text) {
    long long value = 0;
    if (text != nullptr)
        numbertext::read(text, value);
    return value;
}
