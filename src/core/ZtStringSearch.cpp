// ZtString: searching, and what is built on it.
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtWildMatch.h>

#include "core/AsciiTables.h"
#include "core/FindText.h"
#include "core/MoveText.h"
#include "core/StringInternals.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <new>

using namespace stringinternals;

namespace {

unsigned countText(const char* p, const char* end, const char* wanted, std::size_t m) {
    unsigned count = 0;
    while ((p = findText(p, end, wanted, m)) != nullptr) {
        p += m;
        ++count;
    }
    return count;
}

}  // namespace

int ZtString::index(const char* text) const {
    return index(text, 0);
}

int ZtString::index(const char* text, int start) const {
    const int n = length();
    if (start < 0 || start > n)
        return -1;
    const char* own = getString();
    const char* found = findText(own + start, own + n, text, lengthOf(text));
    return found == nullptr ? -1 : static_cast<int>(found - own);
}

int ZtString::index(char c, int start) const {
    const int n = length();
    start = std::max(start, 0);
    if (start > n)
        return -1;
    const char* own = getString();
    const void* found = std::memchr(own + start, c, static_cast<std::size_t>(n + 1 - start));
    return found == nullptr ? -1 : static_cast<int>(static_cast<const char*>(found) - own);
}

int ZtString::rindex(char c, int start) const {
    const char* own = getString();
    int i = start < 0 ? length() : std::min(start, length());
    while (i >= 0 && own[i] != c)
        --i;
    return i;
}

int ZtString::iindex(const char* text) const {
    const std::size_t m = lengthOf(text);
    const char* own = getString();
    const char* end = own + length();
    const char* found = std::search(own, end, text, text + m, [](char a, char b) {
        return ascii::toLower(a) == ascii::toLower(b);
    });
    return found == end && m > 0 ? -1 : static_cast<int>(found - own);
}

bool ZtString::matches(const char* pattern) const {
    return withTerminated(*this,
                          [pattern](const char* text) { return ztWildMatch(text, pattern) != 0; });
}

void ZtString::replaceSubStr(const char* from, const char* to) {
    to = to == nullptr ? "" : to;
    const std::size_t oldPiece = lengthOf(from);
    const std::size_t newPiece = lengthOf(to);
    const std::size_t oldLength = static_cast<std::size_t>(length());
    if (oldPiece == 0 || oldLength == 0)
        return;
    if (isOwnText(*this, from))
        return replaceSubStr(ZtString(from).getString(), to);
    if (isOwnText(*this, to))
        return replaceSubStr(from, ZtString(to).getString());

    // A text that becomes longer is first moved to the end of its longer buffer. So what is written
    // never overtakes what is still to be read.
    std::size_t shift = 0;
    if (newPiece > oldPiece) {
        const auto growth = static_cast<unsigned long long>(newPiece - oldPiece) *
                            countText(dataPtr(), dataPtr() + oldLength, from, oldPiece);
        if (growth == 0)
            return;
        shift = static_cast<std::size_t>(std::min<unsigned long long>(growth, INT_MAX));
        resize(checkedLength(oldLength + shift) + 1);
        std::memmove(dataPtr() + shift, dataPtr(), oldLength);
    }
    char* out = dataPtr();
    const char* in = out + shift;
    const char* const end = in + oldLength;
    const auto keepUpTo = [&](const char* stop) {
        const auto n = static_cast<std::size_t>(stop - in);
        moveText(out, in, n);
        out += n;
    };
    while (const char* found = findText(in, end, from, oldPiece)) {
        keepUpTo(found);
        moveText(out, to, newPiece);
        out += newPiece;
        in = found + oldPiece;
    }
    keepUpTo(end);
    *out = '\0';
    resize(static_cast<int>(out - dataPtr()) + 1);
}

int ZtString::explode(char separator, ZtDArray<ZtString, 1>& pieces) const {
    // Filled aside, since `pieces` may hold this string; with the same capacity to start from.
    ZtDArray<ZtString, 1> result(0, pieces.getMax());
    const char* p = getString();
    const char* end = p + length();
    for (;;) {
        const void* found =
            p == end ? nullptr : std::memchr(p, separator, static_cast<std::size_t>(end - p));
        const char* stop = found == nullptr ? end : static_cast<const char*>(found);
        const int slot = result.appendSpace();  // zero bytes, should the next line throw
        new (result.dataPtr() + slot) ZtString(p, 0, static_cast<int>(stop - p));
        if (found == nullptr)
            break;
        p = stop + 1;
    }
    pieces.swapWith(result);
    return pieces.size();
}
