// A folder of a test's own, which goes with everything in it when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

class ScratchFolder {
public:
    ScratchFolder() {
        const std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
        std::random_device random;
        do
            path_ = std::filesystem::temp_directory_path() /
                    ("ztlib-" + test + "-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// The path of an entry, with slashes.
    std::string of(const std::string& name) const { return (path_ / name).generic_string(); }

    /// Makes a file and returns its path.
    std::string addFile(const std::string& name, const std::string& content = "") const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return of(name);
    }

    /// Makes a directory, with those above it, and returns its path.
    std::string addFolder(const std::string& name) const {
        std::filesystem::create_directories(path_ / name);
        return of(name);
    }

private:
    std::filesystem::path path_;
};

/// Whether names are bytes, of which only the slash and zero are special.
inline constexpr bool kNamesAreBytes = std::filesystem::path::preferred_separator == '/';

/// As many files as a careless program leaves behind; Wine takes a minute to make so many.
inline constexpr int kManyFiles = kNamesAreBytes ? 10000 : 1000;
