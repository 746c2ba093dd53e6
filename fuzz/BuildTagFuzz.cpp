// Build tags, which are taken apart at their separators: a text of the input's, and the library's
// own record with what the input puts in its place.
#include <ztlib/ZtBuildTag.h>
#include <ztlib/ZtString.h>

#include <string>
#include <string_view>
#include <vector>

#include "Expect.h"
#include "FuzzInput.h"

namespace {

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (std::size_t stop; (stop = text.find(separator)) != std::string_view::npos;) {
        pieces.push_back(text.substr(0, stop));
        text.remove_prefix(stop + 1);
    }
    pieces.push_back(text);
    return pieces;
}

void expectPieces(const std::string& record) {
    const std::vector<std::string_view> expected = split(record, '|');
    const int count = static_cast<int>(expected.size());
    ZtDArray<ZtString, 1> pieces;
    FUZZ_EXPECT(ZtString(record.c_str()).explode('|', pieces) == count && pieces.size() == count);
    for (int i = 0; i < count; ++i)
        FUZZ_EXPECT(pieces[i].getString() == expected[static_cast<std::size_t>(i)]);
    // A value is a text of its own, which is taken apart in place of the list that it is in.
    FUZZ_EXPECT(pieces[count - 1].explode('.', pieces) ==
                static_cast<int>(split(expected.back(), '.').size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::size_t at = input.byte() + 256 * input.byte();
    const std::string text = input.text();
    expectPieces(text);
    std::string record = reinterpret_cast<const char*>(taglibGetVersion());
    if (at < record.size())
        expectPieces(record.replace(at, text.size(), text));
    return 0;
}
