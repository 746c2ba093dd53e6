// The text form of parameters.
#include <ztlib/NwParameter.h>
#include <ztlib/ZtString.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Expect.h"
#include "FuzzInput.h"

namespace {

// What is read of a number once it is printed: floats have eight digits then.
double expectedAgain(const NwParameter& parameter, int index) {
    const double number = parameter.getReal(index);
    if (parameter.primType() == ZtPrimType::INT)
        return number;
    char text[32];
    std::snprintf(text, sizeof text, "%.8g", number);
    return static_cast<double>(std::strtof(text, nullptr));
}

}  // namespace

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
    // An infinity is a text then.
    if (!isFinite)
        return 0;
    const NwParameter again("p", printed, 1);
    FUZZ_EXPECT(again.dim() == parameter.dim());
    for (int i = 0; i < again.dim(); ++i)
        FUZZ_EXPECT(again.getReal(i) == expectedAgain(parameter, i));
    // Numbers that were printed once are read and printed as they are, but for a minus before a
    // zero, which whole numbers do not have.
    ZtString reprinted;
    again.print(reprinted);
    const NwParameter third("p", reprinted, 1);
    third.print(printed);
    FUZZ_EXPECT(printed == reprinted);
    return 0;
}
