// ZtStringTokenizerGeneral: reads tokens separated by given characters.
#pragma once

#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtStringTokenizer.h>

/// A `ZtStringTokenizer` whose separators are the given characters and no others. Quotes and
/// backslashes keep their meaning unless they are separators.
class ZTLIB_API ZtStringTokenizerGeneral : public ZtStringTokenizer {
public:
    /// Starts at the first token; any of the characters separates. Null counts as the empty text,
    /// or as no separators.
    ZtStringTokenizerGeneral(const ZtString& text, const char* separators);
    ZtStringTokenizerGeneral(const char* text, const char* separators);
    ZtStringTokenizerGeneral(const ZtStringTokenizerGeneral& other);
    ~ZtStringTokenizerGeneral() override;

    /// Takes the text, the place in it and the separators; from the base class, not the separators.
    ZtStringTokenizerGeneral& operator=(const ZtStringTokenizerGeneral& other);
    using ZtStringTokenizer::operator=;

protected:
    int isSpace(char c) override;

private:
    friend class ZtStringTokenizer;

    ZtBitfield separators_;  // one bit for each character
};
