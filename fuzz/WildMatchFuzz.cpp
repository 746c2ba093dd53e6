// Wild matching: a pattern, then a text.
#include <ztlib/ZtWildMatch.h>

#include <string>

#include "Expect.h"
#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::string pattern = input.text();
    const std::string text = input.text();
    const int result = ztWildMatch(text.c_str(), pattern.c_str());
    FUZZ_EXPECT(result == 0 || result == 1);
    const std::size_t wild = pattern.find_first_of("*?");
    if (wild == std::string::npos)
        FUZZ_EXPECT(result == (text == pattern));
    else if (text.compare(0, wild, pattern, 0, wild) != 0)
        FUZZ_EXPECT(result == 0);  // what stands before the first wildcard stands for itself
    else if (pattern.find_first_not_of('*') == std::string::npos)
        FUZZ_EXPECT(result == 1);
    if (text.find_first_of("*?") == std::string::npos)
        FUZZ_EXPECT(ztWildMatch(text.c_str(), (text + "*").c_str()) == 1);
    return 0;
}
