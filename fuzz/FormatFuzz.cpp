// Formatting: a conversion of the input's choice among those that are safe, against the C library.
#include <ztlib/ZtString.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Expect.h"
#include "FuzzInput.h"

namespace {

/// Formats by both and compares.
template <class... Arguments>
void compare(const std::string& format, Arguments... arguments) {
    const int length = std::snprintf(nullptr, 0, format.c_str(), arguments...);
    std::vector<char> expected(static_cast<std::size_t>(length) + 1);
    std::snprintf(expected.data(), expected.size(), format.c_str(), arguments...);
    ZtString text("old");
    text.printf(format.c_str(), arguments...);
    FUZZ_EXPECT(text.length() == length);
    FUZZ_EXPECT(std::memcmp(text.getString(), expected.data(), expected.size()) == 0);
}

/// The text with every % doubled.
std::string literal(const std::string& text) {
    std::string result;
    for (const char c : text)
        result += c == '%' ? "%%" : std::string(1, c);
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned what = input.byte();
    const unsigned flags = input.byte();
    const int width = static_cast<int>(input.byte()) - 128;
    const int precision = static_cast<int>(input.byte()) - 1;
    const std::string before = literal(input.text());
    const std::string value = input.text();
    std::string format = before + "%";
    for (unsigned i = 0; i < 3; ++i)
        if (flags >> i & 1u)
            format += "-+ "[i];
    format += "*.*";
    switch (what % 3) {
        case 0:
            return compare(format + "s" + before, width, precision, value.c_str()), 0;
        case 1:
            return compare(format + "d", width, precision, static_cast<int>(size) - 99), 0;
        default:
            double number = 0;
            std::memcpy(&number, value.data(), std::min(value.size(), sizeof number));
            return compare(format + "g" + before, width, precision, number), 0;
    }
}
