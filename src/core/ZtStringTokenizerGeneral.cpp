// ZtStringTokenizerGeneral: its separators; tokens are read by the base.
#include <ztlib/ZtStringTokenizerGeneral.h>

ZtStringTokenizerGeneral::ZtStringTokenizerGeneral(const ZtString& text, const char* separators)
    : ZtStringTokenizerGeneral(nullptr, separators) {
    *this = text;
}

// The base is built without a text: it must not skip before the separators are known.
ZtStringTokenizerGeneral::ZtStringTokenizerGeneral(const char* text, const char* separators)
    : separators_(256, ZtBitfield::INIT_CLEAR) {
    separators = separators == nullptr ? "" : separators;
    for (const char* p = separators; *p != '\0'; ++p)
        separators_.set(static_cast<unsigned char>(*p));
    *this = text;
}

ZtStringTokenizerGeneral::ZtStringTokenizerGeneral(const ZtStringTokenizerGeneral& other) = default;

ZtStringTokenizerGeneral::~ZtStringTokenizerGeneral() = default;

ZtStringTokenizerGeneral& ZtStringTokenizerGeneral::operator=(
    const ZtStringTokenizerGeneral& other) = default;

int ZtStringTokenizerGeneral::isSpace(char c) {
    return static_cast<int>(separators_[static_cast<unsigned char>(c)]);
}
