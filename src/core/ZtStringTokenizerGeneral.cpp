// ZtStringTokenizerGeneral: its separators; tokens are read by the base.
#include <ztlib/ZtStringTokenizerGeneral.h>

#include "core/CharSet.h"

ZtStringTokenizerGeneral::ZtStringTokenizerGeneral(const ZtString& text, const char* separators)
    : ZtStringTokenizerGeneral(nullptr, separators) {
    *this = text;
}

// The base is built without a text: it must not skip before the separators are known.
ZtStringTokenizerGeneral::ZtStringTokenizerGeneral(const char* text, const char* separators)
    : separators_(256, ZtBitfield::INIT_CLEAR) {
    static_assert(sizeof stops_ == charset::kBytes);
    separators = separators == nullptr ? "" : separators;
    for (const char* p = separators; *p != '\0'; ++p)
        separators_.set(static_cast<unsigned char>(*p));
    charset::addAll(stops_, separators);
    charset::addAll(stops_, "\"\\");
    *this = text;
}

ZtStringTokenizerGeneral::ZtStringTokenizerGeneral(const ZtStringTokenizerGeneral& other) = default;

ZtStringTokenizerGeneral::~ZtStringTokenizerGeneral() = default;

ZtStringTokenizerGeneral& ZtStringTokenizerGeneral::operator=(
    const ZtStringTokenizerGeneral& other) = default;

int ZtStringTokenizerGeneral::isSpace(char c) {
    return isSeparator(c);
}
