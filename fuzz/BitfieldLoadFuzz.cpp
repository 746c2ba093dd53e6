// Bit fields from files: two bytes for how many bits there are beyond the file's or short of them,
// then the file.
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "Expect.h"
#include "FuzzInput.h"
#include "TemporaryFolder.h"

namespace {

constexpr int kLong = 8 * 4096;  // more bits than are read at once

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder("fuzz");
    static const std::string path = folder.of("bits");
    static const std::string copy = folder.of("copy");
    FuzzInput input(data, size);
    const int beyond = static_cast<int>(input.byte()) - 128;
    const int isLong = input.byte() == 255;
    const std::string bytes = input.rest();
    const int bits = static_cast<int>(8 * bytes.size()) + beyond + isLong * kLong;
    const auto n = static_cast<unsigned>(std::max(bits, 0));
    std::ofstream(path, std::ios::binary) << bytes;

    ZtBitfield field(40, ZtBitfield::INIT_SET);
    const bool isWhole = field.load(path.c_str(), n);
    FUZZ_EXPECT(field.nBits() == n);
    FUZZ_EXPECT(isWhole == (bytes.size() >= (n + 7) / 8));
    unsigned count = 0;
    for (unsigned i = 0; i < n && isWhole; ++i) {
        const unsigned byte = static_cast<unsigned char>(bytes[i / 8]);
        const unsigned expected = byte >> i % 8 & 1u;
        FUZZ_EXPECT(field[i] == expected);
        count += expected;
    }
    FUZZ_EXPECT(!isWhole || field.nSetBits() == count);

    FUZZ_EXPECT(field.save(copy.c_str()));
    ZtBitfield again;
    FUZZ_EXPECT(again.load(copy.c_str(), n));
    FUZZ_EXPECT(again == field);
    return 0;
}
