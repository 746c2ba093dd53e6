// Bundles: one byte for what is done, then a name; a map tells what is there.
#include <ztlib/NwParamBundle.h>
#include <ztlib/ZtString.h>

#include <map>
#include <string>

#include "Expect.h"
#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    NwParamBundle bundle("b");
    std::map<std::string, int> model;
    for (int step = 0; !input.isAtEnd(); ++step) {
        const unsigned what = input.byte();
        const std::string name = input.text();
        switch (what % 5) {
            case 0:
                bundle.set(name.c_str(), step);
                model[name] = step;
                break;
            case 1:
                bundle.remove(name.c_str());
                model.erase(name);
                break;
            case 2:
                bundle.sortParameters();
                FUZZ_EXPECT((bundle.findSorted(name.c_str()) != nullptr) == model.count(name));
                break;
            case 3: {
                NwParamBundle other(bundle);
                bundle.removeAll();
                bundle.move(other);
                break;
            }
            default: {
                int value = -1;
                const int isThere = bundle.findNum(name.c_str(), value);
                const auto expected = model.find(name);
                FUZZ_EXPECT((isThere != 0) == (expected != model.end()));
                FUZZ_EXPECT(!isThere || value == expected->second);
            }
        }
        FUZZ_EXPECT(bundle.size() == static_cast<int>(model.size()));
    }
    ZtString text;
    bundle.print(text);
    return 0;
}
