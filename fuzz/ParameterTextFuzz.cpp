// The text form of parameters.
#include <ztlib/NwParameter.h>
#include <ztlib/ZtString.h>

#include <cmath>
#include <string>

#include "Expect.h"
#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::string text = input.text();
    NwParameter parameter("p", text.c_str(), 1);
    FUZZ_EXPECT(parameter.dim() >= 0);
    ZtString printed;
    parameter.print(printed);
    bool isFinite = true;
    for (int i = -1; i <= parameter.dim(); ++i) {
        parameter.getNum(i);
        isFinite = isFinite && std::isfinite(parameter.getReal(i));
    }
    if (parameter.primType() == ZtPrimType::STRING) {
        FUZZ_EXPECT(parameter.getString() == text);
        return 0;
    }
    // Numbers that were printed once are read and printed as they are; an infinity is a text then.
    if (!isFinite)
        return 0;
    const NwParameter again("p", printed, 1);
    ZtString reprinted;
    again.print(reprinted);
    FUZZ_EXPECT(again.dim() == parameter.dim());
    FUZZ_EXPECT(reprinted == printed);
    return 0;
}
