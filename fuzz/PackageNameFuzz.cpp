// Names of packages.
#include <string>

#include "Expect.h"
#include "FuzzInput.h"
#include "objects/PackageNames.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using platform::LibraryNaming;
    FuzzInput input(data, size);
    const std::string name = input.text();
    for (const LibraryNaming naming : {LibraryNaming::kUnix, LibraryNaming::kWindows}) {
        ZtFilename path(name.c_str());
        zt_objects::fixPackagePath(path, naming);
        FUZZ_EXPECT(path.index("\\") == -1);
        ZtFilename again(path);
        zt_objects::fixPackagePath(again, naming);
        FUZZ_EXPECT(again == path);
        zt_objects::isAbsolute(path);
        zt_objects::otherPackagePath(ZtFilename(name.c_str()), path, naming);
        for (const bool keepLib : {false, true}) {
            const std::string function =
                zt_objects::initFunctionName(path, naming, keepLib).getString();
            FUZZ_EXPECT(function.compare(0, 14, "ostrelpackage_") == 0);
            FUZZ_EXPECT(function.size() >= 19 &&
                        function.compare(function.size() - 5, 5, "_init") == 0);
            FUZZ_EXPECT(function.find('/') == std::string::npos);
        }
    }
    return 0;
}
