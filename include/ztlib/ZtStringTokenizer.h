// ZtStringTokenizer: reads tokens separated by white space, with quotes and escapes.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

/// Splits a text into tokens at white space. A backslash takes the next character as it is; double
/// quotes take everything up to the next one as it is, separators and backslashes included. Quoted
/// and plain parts join into one token: ab"c d"ef is the token abc def.
///
/// The text is not copied: it must outlive the tokenizer and stay unchanged. Derive and override
/// `isSpace` for other separators; a separator is one before it is a quote or a backslash. Use
/// `ZtStdStringTokenizer` for plain splitting. A tokenizer is used by one thread at a time.
class ZTLIB_API ZtStringTokenizer {
public:
    /// Starts at the first token of the text; null counts as the empty text.
    ZtStringTokenizer(const ZtString& text);
    ZtStringTokenizer(const char* text);
    ZtStringTokenizer(const ZtStringTokenizer& other);
    virtual ~ZtStringTokenizer();

    /// Takes the text and the place in it.
    ZtStringTokenizer& operator=(const ZtStringTokenizer& other);
    /// Start anew on another text.
    ZtStringTokenizer& operator=(const ZtString& text);
    ZtStringTokenizer& operator=(const char* text);

    /// Non-zero while there is another token.
    int hasMoreTokens() const { return position_ < length_; }
    /// The next token, empty after the last one. It lies in the tokenizer's own string, which the
    /// next call overwrites. When memory is exhausted nothing has changed.
    ZtString& nextToken();
    /// The next token's leading decimal integer, clamped, or 0.
    int nextInt();
    /// The next token's leading floating-point number, or 0.
    float nextFloat();

protected:
    /// Without a text, until `setText`.
    ZtStringTokenizer();
    /// Starts at the first character of `text`. A derived class whose `isSpace` needs its own
    /// members calls this and then `skipSpace` when they are ready.
    void setText(const char* text, int length);

    /// Whether `c` is a separator (non-zero): here ASCII white space.
    virtual int isSpace(char c);
    /// Advances to the next character that is no separator, or to the end.
    void skipSpace();

private:
    template <class IsSeparator, class FindStop>
    ZtString& readToken(IsSeparator isSeparator, FindStop findStop);

    ZtString token_;
    int position_ = 0;
    int length_ = 0;
    const char* text_ = "";
};
