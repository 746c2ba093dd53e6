// ZtStdStringTokenizer: from token to token by searches in a set of characters.
#include <ztlib/ZtStdStringTokenizer.h>

#include "core/CharSet.h"

namespace {

constexpr std::size_t kNone = std::string::npos;

// The offset of the first character at or after `from` that is no separator, or kNone.
std::size_t findToken(const CharSet& separators, const std::string& text, std::size_t from) {
    while (from < text.size() && CharSet::contains(separators.words, text[from]))
        ++from;
    return from < text.size() ? from : kNone;
}

// The offset of the first separator at or after `from`, or kNone.
std::size_t findSeparator(const CharSet& separators, const std::string& text, std::size_t from) {
    if (from >= text.size())
        return kNone;
    const char* const last = text.data() + text.size();
    const char* const found = CharSet::find(separators.words, text.data() + from, last);
    return found == last ? kNone : static_cast<std::size_t>(found - text.data());
}

}  // namespace

ZtStdStringTokenizer::ZtStdStringTokenizer(const std::string& text, const char* separators)
    : separators_(separators == nullptr ? " \f\n\r\t\v" : separators), text_(text) {
    const CharSet set(separators_.c_str());
    start_ = findToken(set, text_, 0);
    end_ = findSeparator(set, text_, start_);
}

void ZtStdStringTokenizer::nextToken(std::string& token) {
    if (start_ == kNone)
        return;
    token.assign(text_, start_, end_ - start_);  // up to the text's end where end_ is kNone
    const CharSet set(separators_.c_str());
    start_ = findToken(set, text_, end_);
    end_ = findSeparator(set, text_, start_);
}

unsigned ZtStdStringTokenizer::countTokens() const {
    if (!isCounted_) {
        const CharSet set(separators_.c_str());
        for (std::size_t at = 0; (at = findToken(set, text_, at)) != kNone; ++count_)
            at = findSeparator(set, text_, at);
        isCounted_ = true;
    }
    return count_;
}
