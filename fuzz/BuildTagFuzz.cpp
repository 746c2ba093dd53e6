// Build tags, which are taken apart at their separators: a text of the input's, and a library's
// record with what the input puts in its place.
#include <ztlib/ZtString.h>

#include <string>
#include <string_view>
#include <vector>

#include "Expect.h"
#include "FuzzInput.h"

namespace {

const std::string kRecord =
    "|vendor||product||version_major|0|version_minor|1|version_patch|0|version_tag|0|comment|"
    "|compiler|GNU 12.2.0|target_os|Linux|build_cfg|Release|build_user|me|build_ip|host"
    "|build_time|2001-09-09 01:46:40|filename|libztlib.so|path|/build/|size|2000000"
    "|sha1|0123456789abcdef0123456789abcdef01234567";

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
    if (at < kRecord.size())
        expectPieces(std::string(kRecord).replace(at, text.size(), text));
    return 0;
}
