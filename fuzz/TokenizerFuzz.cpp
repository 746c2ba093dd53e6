// The three tokenizers: separators, then a text.
#include <ztlib/ZtStdStringTokenizer.h>
#include <ztlib/ZtStringTokenizerGeneral.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Expect.h"
#include "FuzzInput.h"

namespace {

/// The stretches of characters that are no separators.
std::vector<std::string> split(const std::string& text, const std::string& separators) {
    std::vector<std::string> tokens;
    for (std::size_t end = 0;;) {
        const std::size_t start = text.find_first_not_of(separators, end);
        if (start == std::string::npos)
            return tokens;
        end = std::min(text.find_first_of(separators, start), text.size());
        tokens.push_back(text.substr(start, end - start));
    }
}

/// Reads all tokens, which together are no longer than the text.
std::vector<std::string> readAll(ZtStringTokenizer& tokenizer, std::size_t length) {
    std::vector<std::string> tokens;
    std::size_t total = 0;
    while (tokenizer.hasMoreTokens()) {
        tokens.push_back(tokenizer.nextToken().getString());
        total += tokens.back().size();
        FUZZ_EXPECT(tokens.size() <= length && total <= length);
    }
    FUZZ_EXPECT(tokenizer.nextToken().isEmptyString());
    return tokens;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::string separators = input.text();
    const std::string text = input.text();
    const std::vector<std::string> plain = split(text, separators);

    ZtStdStringTokenizer standard(text, separators.c_str());
    FUZZ_EXPECT(standard.countTokens() == plain.size());
    for (const std::string& expected : plain) {
        std::string token;
        FUZZ_EXPECT(standard.hasMoreTokens());
        standard.nextToken(token);
        FUZZ_EXPECT(token == expected);
    }
    FUZZ_EXPECT(!standard.hasMoreTokens());

    ZtStringTokenizer byWhiteSpace(text.c_str());
    readAll(byWhiteSpace, text.size());
    ZtStringTokenizerGeneral general(text.c_str(), separators.c_str());
    const std::vector<std::string> tokens = readAll(general, text.size());
    // Without quotes and escapes it splits as plainly.
    if (text.find_first_of("\"\\") == std::string::npos)
        FUZZ_EXPECT(tokens == plain);
    return 0;
}
