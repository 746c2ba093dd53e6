// A folder of a test's own, which goes with everything in it when the test ends.
#pragma once

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

class ScratchFolder : public TemporaryFolder {
public:
    ScratchFolder() : TemporaryFolder(nameOfTest()) {}
    /// An empty one of a fixed name, which another process of the same test finds as well.
    explicit ScratchFolder(const std::filesystem::path& parent)
        : TemporaryFolder(parent, nameOfTest()) {}

private:
    static std::string nameOfTest() {
        std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        std::replace(name.begin(), name.end(), '/', '-');
        return name;
    }
};

/// Whether names are bytes, of which only the slash and zero are special.
inline constexpr bool kNamesAreBytes = std::filesystem::path::preferred_separator == '/';

/// As many files as a careless program leaves behind; Wine takes a minute to make so many.
inline constexpr int kManyFiles = kNamesAreBytes ? 10000 : 1000;
