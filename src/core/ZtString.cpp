// ZtString: construction, assignment, comparison and editing. Searching, numbers and formatting
// have sources of their own.
#include <ztlib/ZtString.h>

#include <ztlib/ZtContract.h>
#include <ztlib/ZtMemory.h>

#include "core/AsciiTables.h"
#include "core/MoveText.h"
#include "core/StringInternals.h"

#include <algorithm>
#include <climits>
#include <cstring>

using namespace stringinternals;

namespace {

constexpr int kFirstCapacity = 16;

int compareBytes(const char* a, int aLength, const char* b, int bLength) {
    const int common = std::min(aLength, bLength);
    const int order = std::memcmp(a, b, static_cast<std::size_t>(common));
    return order != 0 ? order : (aLength > bLength) - (aLength < bLength);
}

bool areAllOfClass(const ZtString& string, int classes) {
    const char* text = string.getString();
    return std::all_of(text, text + string.length(),
                       [classes](char c) { return ascii::isOfClass(c, classes); });
}

}  // namespace

ZtString::ZtString() : ZtString(Capacity{kFirstCapacity}) {}

ZtString::ZtString(Capacity capacity) {
    remax(static_cast<int>(capacity), 1);
    *dataPtr() = '\0';
}

ZtString::ZtString(const char* text) {
    const std::size_t n = lengthOf(text);
    remax(std::max(kFirstCapacity, checkedLength(n) + 1), 0);
    assign(text, n);
}

ZtString::ZtString(const char* text, int start, int count) {
    const int n = text == nullptr ? 0 : checkedLength(static_cast<std::size_t>(std::max(count, 0)));
    remax(n + 1, 0);
    assign(n == 0 ? nullptr : text + start, static_cast<std::size_t>(n));
}

// The new object is nobody's copy to its bases, which gcc wants to be told.
// NOLINTNEXTLINE(bugprone-copy-constructor-init,readability-redundant-member-init)
ZtString::ZtString(const ZtString& other) : ZtHandable(), ZtDArray<char, 1>() {
    const int n = other.length();
    char* const copy = static_cast<char*>(ztmalloc(static_cast<std::size_t>(n) + 1));
    std::memcpy(copy, other.getString(), static_cast<std::size_t>(n));
    copy[n] = '\0';
    setRawData(n + 1, copy);
}

ZtString::ZtString(ZtString&& other) noexcept {
    swapWith(other);
}

ZtString::~ZtString() = default;

ZtString& ZtString::operator=(const char* text) {
    return assign(text, lengthOf(text));
}

ZtString& ZtString::operator=(const ZtString& other) {
    return assign(other.getString(), static_cast<std::size_t>(other.length()));
}

ZtString ZtString::operator+(const ZtString& other) const {
    const int head = length();
    const int tail = other.length();
    ZtString sum(Capacity{
        checkedLength(static_cast<std::size_t>(head) + static_cast<std::size_t>(tail)) + 1});
    sum.appendText(getString(), static_cast<std::size_t>(head));
    sum.appendText(other.getString(), static_cast<std::size_t>(tail));
    return sum;
}

void ZtString::clear() {
    assign("", 0);
}

// Replaces the text by `n` characters, which may be own ones: these need no growth, so they stay
// where they are until they are moved.
ZtString& ZtString::assign(const char* text, std::size_t n) {
    const int newLength = checkedLength(n);
    if (newLength >= getMax())
        resize(newLength + 1);
    char* data = dataPtr();
    if (n > 0)
        std::memmove(data, text, n);
    data[n] = '\0';
    resize(newLength + 1);
    return *this;
}

ZtString& ZtString::appendText(const char* text, std::size_t n) {
    const int count = checkedLength(n);
    const int oldSize = size();
    if (hasRoomFor(count)) {
        setSize(oldSize + count);
    } else {
        if (oldSize == 0)
            return assign(text, n);
        const bool isOwn = isOwnText(*this, text);
        const std::ptrdiff_t offset = isOwn ? text - dataPtr() : 0;
        insertMemory(oldSize, count);
        if (isOwn)
            text = dataPtr() + offset;
    }
    char* const end = dataPtr() + oldSize - 1;
    moveText(end, text, n);
    end[n] = '\0';
    return *this;
}

// Inserts `n` characters, which may be own ones on either side of the gap or around it.
ZtString& ZtString::insertText(int pos, const char* text, std::size_t n) {
    if (size() == 0)
        clear();
    if (n == 0)
        return *this;
    const int count = checkedLength(n);
    const bool isOwn = isOwnText(*this, text);
    const std::ptrdiff_t offset = isOwn ? text - dataPtr() : 0;
    insertMemory(pos, count);
    char* gap = dataPtr() + pos;
    if (!isOwn) {
        std::memcpy(gap, text, n);
        return *this;
    }
    const char* source = dataPtr() + offset;
    const std::size_t before =
        std::min(n, static_cast<std::size_t>(std::max<std::ptrdiff_t>(gap - source, 0)));
    std::memmove(gap, source, before);
    std::memmove(gap + before, source + before + n, n - before);
    return *this;
}

bool ZtString::isAlpha() const {
    return areAllOfClass(*this, ascii::kUpper | ascii::kLower);
}

bool ZtString::isDigit() const {
    return areAllOfClass(*this, ascii::kDigit);
}

bool ZtString::isAlnum() const {
    return areAllOfClass(*this, ascii::kUpper | ascii::kLower | ascii::kDigit);
}

int ZtString::strcasecmp(const char* a, const char* b) {
    return strncasecmp(a, b, INT_MAX);
}

int ZtString::strncasecmp(const char* a, const char* b, int n) {
    a = a == nullptr ? "" : a;
    b = b == nullptr ? "" : b;
    for (int i = 0; i < n; ++i) {
        const auto x = static_cast<unsigned char>(ascii::toLower(a[i]));
        const auto y = static_cast<unsigned char>(ascii::toLower(b[i]));
        if (x != y || x == 0)
            return x - y;
    }
    return 0;
}

int ZtString::compare(const ZtString& other) const {
    return compareBytes(getString(), length(), other.getString(), other.length());
}

int ZtString::compare(const char* text) const {
    const std::size_t n = lengthOf(text);
    return compareBytes(getString(), length(), n == 0 ? "" : text,
                        static_cast<int>(std::min<std::size_t>(n, INT_MAX)));
}

bool ZtString::isEqualTo(const ZtString& other, bool ignoreCase) const {
    if (!ignoreCase)
        return *this == other;
    const char* text = getString();
    return length() == other.length() &&
           std::equal(text, text + length(), other.getString(),
                      [](char a, char b) { return ascii::toLower(a) == ascii::toLower(b); });
}

ZtString& ZtString::toUpper() {
    char* text = getString();
    std::transform(text, text + length(), text, ascii::toUpper);
    return *this;
}

ZtString& ZtString::toLower() {
    char* text = getString();
    std::transform(text, text + length(), text, ascii::toLower);
    return *this;
}

void ZtString::unpad() {
    const char* text = getString();
    int last = length() - 1;
    while (last > 0 && text[last] == ' ')
        --last;
    int first = 0;
    while (first < last && text[first] == ' ')
        ++first;
    assign(text + first, static_cast<std::size_t>(last + 1 - first));
}

void ZtString::insertStr(int pos, const char* text) {
    ZT_REQUIRE(pos >= 0 && pos <= length());
    insertText(pos, text, lengthOf(text));
}

void ZtString::removeLast(int n) {
    if (n > 0)
        assign(getString(), static_cast<std::size_t>(std::max(0, length() - n)));
}

void ZtString::replace(char from, char to) {
    char* text = getString();
    std::replace(text, text + length(), from, to);
}

ZtString ZtString::substr(int from, int to) const {
    const long long count = static_cast<long long>(to) - from + 1;
    ZT_REQUIRE(count <= 0 || (from >= 0 && to <= length()));
    return ZtString(getString(), from, static_cast<int>(std::clamp<long long>(count, 0, INT_MAX)));
}

ZtString ZtString::protect(bool forceQuotes) const {
    const char* text = getString();
    const char* end = text + length();
    const bool isQuoted = forceQuotes || text == end || std::any_of(text, end, ascii::isSpace);
    const auto isEscaped = [](char c) { return c == '"' || c == '\\'; };
    const auto escapes = static_cast<std::size_t>(std::count_if(text, end, isEscaped));
    const std::size_t newLength = static_cast<std::size_t>(length()) + escapes + (isQuoted ? 2 : 0);
    ZtString result(Capacity{checkedLength(newLength) + 1});
    if (isQuoted)
        result += '"';
    for (const char* p = text; p < end; ++p) {
        if (isEscaped(*p))
            result += '\\';
        result += *p;
    }
    if (isQuoted)
        result += '"';
    return result;
}
