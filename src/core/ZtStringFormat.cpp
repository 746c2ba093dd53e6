// ZtString: formatting, and conversion from and to numbers.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include "core/MoveText.h"
#include "core/NumberText.h"
#include "core/StringInternals.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>

using namespace stringinternals;

namespace {

constexpr int kFirstFormatSize = 64;
constexpr std::size_t kStackBufferSize = 1024;

// Ends an argument list also where an exception leaves.
struct EndOfArguments {
    std::va_list& arguments;
    ~EndOfArguments() { va_end(arguments); }
};

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

char* ZtString::printf(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const EndOfArguments end{arguments};
    return vprintf(format, arguments);
}

// The arguments may hold the string's own text, so that stays untouched until all is formatted.
char* ZtString::vprintf(const char* format, std::va_list arguments) {
    format = format == nullptr ? "" : format;
    char buffer[kStackBufferSize];
    std::va_list again;
    va_copy(again, arguments);
    const EndOfArguments end{again};
    // Without clearing errno, which is the caller's and may even be asked for by the format.
    const int result = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    if (result < 0 && errno == EOVERFLOW)
        ztThrowMemoryException(INT_MAX);
    const int newLength = std::max(result, 0);
    const int capacity = capacityForFormatted(size(), getMax(), newLength);
    const auto n = static_cast<std::size_t>(newLength);
    if (n < sizeof buffer) {
        if (capacity > getMax())
            remax(capacity);
        moveText(dataPtr(), buffer, n);
    } else {
        char* const text = static_cast<char*>(ztmalloc(static_cast<std::size_t>(capacity)));
        std::vsnprintf(text, n + 1, format, again);
        ztfree(dataPtr());
        setRawData(capacity, text);
    }
    dataPtr()[n] = '\0';
    setSize(newLength + 1);
    return dataPtr();
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
