// The three tokenizers: tables, and random texts against plainly written readers.
#include <gtest/gtest.h>
#include <ztlib/ZtStdStringTokenizer.h>
#include <ztlib/ZtStringTokenizer.h>
#include <ztlib/ZtStringTokenizerGeneral.h>

#include <climits>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "Random.h"

namespace {

using Tokens = std::vector<std::string>;

Tokens read(ZtStringTokenizer& tokenizer) {
    Tokens tokens;
    while (tokenizer.hasMoreTokens())
        tokens.push_back(tokenizer.nextToken().getString());
    EXPECT_TRUE(tokenizer.nextToken().isEmptyString());
    return tokens;
}

// By the tokenizer of white space where there are no separators.
Tokens split(const std::string& text, const char* separators = nullptr) {
    ZtStringTokenizer blanks(text.c_str());
    ZtStringTokenizerGeneral general(text.c_str(), separators);
    return read(separators ? general : blanks);
}

Tokens splitPlainly(const std::string& text) {
    ZtStdStringTokenizer tokenizer(text, nullptr);
    const std::size_t count = tokenizer.countTokens();
    Tokens tokens;
    for (std::string token; tokenizer.hasMoreTokens(); tokens.push_back(token))
        tokenizer.nextToken(token);
    std::string untouched = "untouched";
    tokenizer.nextToken(untouched);
    EXPECT_EQ(untouched, "untouched");
    EXPECT_EQ(count, tokens.size());
    EXPECT_EQ(tokenizer.countTokens(), count);
    return tokens;
}

// Separators from a client's own class, which also counts how often it is asked.
class DigitTokenizer : public ZtStringTokenizer {
public:
    explicit DigitTokenizer(const char* text) {
        setText(text, static_cast<int>(std::strlen(text)));
        skipSpace();
    }
    int questions = 0;

protected:
    int isSpace(char c) override { return ++questions, c >= '0' && c <= '9'; }
};

// What `nextToken` reads, character by character.
Tokens splitSlowly(const std::string& text, const std::string& separators) {
    Tokens tokens;
    bool isInToken = false;
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isSeparator = separators.find(c) != std::string::npos;
        if (!isQuoted && isSeparator) {
            isInToken = false;
            continue;
        }
        if (!isInToken)
            tokens.emplace_back();
        isInToken = true;
        if (c == '"')
            isQuoted = !isQuoted;
        else if (c != '\\' || isQuoted)
            tokens.back() += c;
        else if (++i < text.size())
            tokens.back() += text[i];
    }
    return tokens;
}

TEST(Tokenizers, AgreeWithReadingCharacterByCharacter) {
    Random random(5);
    for (int round = 0; round < 20000; ++round) {
        // Long words in every third round, so that runs beyond sixteen characters occur.
        const std::string alphabet =
            round % 3 == 0 ? "abcdefghijklmnopqrstuvwxyz12 \"" : "a1\xe9\xa0 \t\n\v,\"\\";
        std::string text(random.bits() % 60, ' ');
        for (char& c : text)
            c = random.of(alphabet);
        SCOPED_TRACE(text);
        EXPECT_EQ(split(text), splitSlowly(text, " \t\n\v\f\r"));
        EXPECT_EQ(split(text, ", \xe9"), splitSlowly(text, ", \xe9"));
        EXPECT_EQ(split(text, "\"\\"), splitSlowly(text, "\"\\"));
        EXPECT_EQ(split(text, ""), splitSlowly(text, ""));
        DigitTokenizer digits(text.c_str());
        EXPECT_EQ(read(digits), splitSlowly(text, "0123456789"));
        // Without quotes and backslashes the plain splitter reads the same.
        std::string plain = text;
        std::erase_if(plain, [](char c) { return c == '"' || c == '\\'; });
        EXPECT_EQ(splitPlainly(plain), splitSlowly(plain, " \t\n\v\f\r"));
    }
}

TEST(Tokenizers, RestartCopyAndConvert) {
    const ZtString numbers(" 12 99999999999 1.5e3 1e400");
    ZtStringTokenizer tokenizer(numbers);
    EXPECT_EQ(tokenizer.nextInt(), 12);
    const ZtStringTokenizer saved(tokenizer);
    EXPECT_EQ(tokenizer.nextInt(), INT_MAX);
    EXPECT_EQ(tokenizer.nextFloat(), 1500.0F);
    EXPECT_EQ(tokenizer.nextFloat(), std::numeric_limits<float>::infinity());
    tokenizer = saved;
    EXPECT_STREQ(tokenizer.nextToken().getString(), "99999999999");
    tokenizer = "again";
    EXPECT_EQ(read(tokenizer), Tokens{"again"});
    tokenizer = static_cast<const char*>(nullptr);
    EXPECT_FALSE(tokenizer.hasMoreTokens());

    ZtStringTokenizerGeneral commas("a,b", ",");
    ZtStringTokenizerGeneral copy(commas);
    EXPECT_EQ(read(copy), (Tokens{"a", "b"}));
    const ZtString withZero("\0,e", 0, 3);
    copy = withZero;
    EXPECT_EQ(copy.nextToken().length(), 1);
    EXPECT_EQ(read(copy), Tokens{"e"});
    ZtStringTokenizerGeneral one("a b", nullptr);
    EXPECT_EQ(read(one), Tokens{"a b"});

    // A client's separators are asked for about each character once, and those ahead not at all.
    DigitTokenizer digits("ab1cd");
    digits.questions = 0;
    EXPECT_STREQ(digits.nextToken().getString(), "ab");
    EXPECT_LE(digits.questions, 5);
}

}  // namespace
