// ZtStdStringTokenizer: splits a standard string at separator characters.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>
#include <string>

/// Splits a copy of a text at runs of separator characters; every other character, quotes and
/// backslashes included, belongs to a token. Used by one thread at a time.
class ZTLIB_API ZtStdStringTokenizer {
public:
    /// Null as `separators` stands for ASCII white space.
    ZtStdStringTokenizer(const std::string& text, const char* separators = nullptr);
    ZtStdStringTokenizer(const ZtStdStringTokenizer&) = delete;
    ZtStdStringTokenizer& operator=(const ZtStdStringTokenizer&) = delete;

    /// Whether another token follows.
    bool hasMoreTokens() const { return start_ != end_; }
    /// Sets `token` to the next one; leaves it as it is when there is none.
    void nextToken(std::string& token);
    /// The number of tokens in the whole text, whatever was read already. Counted once.
    unsigned countTokens() const;

private:
    std::string separators_;
    std::string text_;
    std::size_t start_;
    std::size_t end_;
    mutable unsigned count_ = 0;
    mutable bool isCounted_ = false;
};
