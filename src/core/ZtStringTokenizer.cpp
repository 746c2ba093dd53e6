// ZtStringTokenizer: finds the end of a token, then copies it.
#include <ztlib/ZtStringTokenizer.h>
#include <ztlib/ZtStringTokenizerGeneral.h>

#include "core/AsciiTables.h"
#include "core/CharSet.h"
#include "core/NumberText.h"
#include "core/StringInternals.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <typeinfo>

using namespace stringinternals;

namespace {

bool isEscape(char c) {
    return c == '"' || c == '\\';
}

constexpr CharSet kEscapes("\"\\");
constexpr CharSet kSpaceStops(" \t\n\v\f\r\"\\");

// Writes the token that stands at [p, end) without its quotes and escapes; returns its end.
char* unquote(char* out, const char* p, const char* end) {
    for (; p < end; ++p) {
        if (*p == '"') {
            const char* close = std::find(p + 1, end, '"');
            out = std::copy(p + 1, close, out);
            p = close;
            continue;
        }
        if (*p == '\\' && ++p == end)
            break;
        *out++ = *p;
    }
    return out;
}

}  // namespace

ZtStringTokenizer::ZtStringTokenizer() = default;

ZtStringTokenizer::ZtStringTokenizer(const ZtString& text) {
    *this = text;
}

ZtStringTokenizer::ZtStringTokenizer(const char* text) {
    *this = text;
}

ZtStringTokenizer::ZtStringTokenizer(const ZtStringTokenizer& other) = default;

ZtStringTokenizer::~ZtStringTokenizer() = default;

ZtStringTokenizer& ZtStringTokenizer::operator=(const ZtStringTokenizer& other) = default;

ZtStringTokenizer& ZtStringTokenizer::operator=(const ZtString& text) {
    setText(text.getString(), text.length());
    skipSpace();
    return *this;
}

ZtStringTokenizer& ZtStringTokenizer::operator=(const char* text) {
    setText(text, checkedLength(lengthOf(text)));
    skipSpace();
    return *this;
}

void ZtStringTokenizer::setText(const char* text, int length) {
    text_ = text == nullptr ? "" : text;
    length_ = length;
    position_ = 0;
}

ZtString& ZtStringTokenizer::nextToken() {
    // Where `isSpace` is known, not overridden, the token's end is looked up instead of asked for.
    if (&typeid(*this) == &typeid(ZtStringTokenizer))
        return readToken(&ascii::isSpace, [](const char* p, const char* last) {
            return CharSet::find(kSpaceStops.words, p, last);
        });
    if (&typeid(*this) == &typeid(ZtStringTokenizerGeneral)) {
        const unsigned* const separators =
            static_cast<const ZtStringTokenizerGeneral&>(*this).separators_.words();
        const CharSet stops = kEscapes | separators;
        return readToken([separators](char c) { return CharSet::contains(separators, c); },
                         [&stops](const char* p, const char* last) {
                             return CharSet::find(stops.words, p, last);
                         });
    }
    return readToken([this](char c) { return isSpace(c); },
                     [this](const char* p, const char* last) {
                         while (p < last && !isSpace(*p) && !isEscape(*p))
                             ++p;
                         return p;
                     });
}

// Reads the next token, given what a separator is and how to find the next character that is one or
// begins an escape. The token's end is found before anything is written, so that nothing has
// changed when memory is exhausted.
template <class IsSeparator, class FindStop>
ZtString& ZtStringTokenizer::readToken(IsSeparator isSeparator, FindStop findStop) {
    const char* const first = text_ + position_;
    const char* const last = text_ + length_;
    bool isPlain = true;
    const char* end = findStop(first, last);
    while (end < last && isEscape(*end) && !isSeparator(*end)) {
        isPlain = false;
        if (*end++ == '"')
            end = std::find(end, last, '"');
        if (end < last)  // the escaped character or the closing quote
            ++end;
        end = findStop(end, last);
    }
    const int most = static_cast<int>(end - first) + 1;
    if (most > token_.getMax())
        token_.resize(most);
    char* const token = token_.dataPtr();
    char* tokenEnd = token + (end - first);
    if (isPlain && end - first <= 16 && last - first >= 16 && token_.getMax() >= 16)
        std::memcpy(token, first, 16);  // more than needed, but without asking how much is
    else if (isPlain)
        std::memcpy(token, first, static_cast<std::size_t>(end - first));
    else
        tokenEnd = unquote(token, first, end);
    *tokenEnd = '\0';
    token_.setSize(static_cast<int>(tokenEnd - token) + 1);
    while (end < last && isSeparator(*end))
        ++end;
    position_ = static_cast<int>(end - text_);
    return token_;
}

int ZtStringTokenizer::nextInt() {
    return nextToken().toInt();
}

float ZtStringTokenizer::nextFloat() {
    const ZtString& token = nextToken();
    double value = 0;
    numbertext::read(token.getString(), token.getString() + token.length(), value);
    return static_cast<float>(value);
}

int ZtStringTokenizer::isSpace(char c) {
    return ascii::isSpace(c);
}

void ZtStringTokenizer::skipSpace() {
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall): a constructor skips white space
    while (position_ < length_ && isSpace(text_[position_]))
        ++position_;
}
