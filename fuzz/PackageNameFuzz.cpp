// Names of packages: a byte for the system that they are for and whether "lib" is kept, then a
// name.
#include <string>

#include "Expect.h"
#include "FuzzInput.h"
#include "objects/PackageNames.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using platform::LibraryNaming;
    FuzzInput input(data, size);
    const unsigned how = input.byte();
    const LibraryNaming naming = how % 2 == 0 ? LibraryNaming::kUnix : LibraryNaming::kWindows;
    const bool keepLib = how / 2 % 2 != 0;
    const ZtFilename name(input.text().c_str());

    ZtFilename path(name);
    zt_objects::fixPackagePath(path, naming);
    FUZZ_EXPECT(path.index("\\") == -1);
    ZtFilename again(path);
    zt_objects::fixPackagePath(again, naming);
    FUZZ_EXPECT(again == path);
    zt_objects::isAbsolute(path);
    zt_objects::otherPackagePath(name, path, naming);
    const std::string function = zt_objects::initFunctionName(path, naming, keepLib).getString();
    FUZZ_EXPECT(function.compare(0, 14, "ostrelpackage_") == 0);
    FUZZ_EXPECT(function.size() >= 19 && function.compare(function.size() - 5, 5, "_init") == 0);
    FUZZ_EXPECT(function.find('/') == std::string::npos);
    return 0;
}
