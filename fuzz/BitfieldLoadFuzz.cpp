// Bit fields from files: two bytes for the number of bits, then the file.
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtString.h>

#include <cstdio>
#include <string>

#include "Expect.h"
#include "FuzzFolder.h"
#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzFolder folder;
    FuzzInput input(data, size);
    const unsigned low = input.byte();
    const unsigned n = low + 256 * input.byte();
    const std::string bytes = input.rest();
    const std::string path = folder.addFile("bits", bytes);

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

    const std::string copy = folder.of("copy");
    FUZZ_EXPECT(field.save(copy.c_str()));
    ZtBitfield again;
    FUZZ_EXPECT(again.load(copy.c_str(), n));
    FUZZ_EXPECT(again == field);
    return 0;
}
