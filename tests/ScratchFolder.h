// A folder of a test's own, which goes with everything in it when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

class ScratchFolder {
public:
    ScratchFolder() {
        std::random_device random;
        do
            path_ = std::filesystem::temp_directory_path() /
                    ("ztlib-" + nameOfTest() + "-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
    }
    /// An empty one of a fixed name, which another process of the same test finds as well.
    explicit ScratchFolder(const std::filesystem::path& parent)
        : path_(parent / ("ztlib-" + nameOfTest())) {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// The path of an entry with slashes, in UTF-8 as its name.
    std::string of(const std::string& name) const { return utf8(at(name)); }

    /// Makes a file and returns its path.
    std::string addFile(const std::string& name, const std::string& content = "") const {
        std::ofstream(at(name), std::ios::binary) << content;
        return of(name);
    }

    /// Makes a directory, with those above it, and returns its path.
    std::string addFolder(const std::string& name) const {
        std::filesystem::create_directories(at(name));
        return of(name);
    }

    /// Returns the content of a file, by its name or its path.
    std::string read(const std::string& name) const {
        std::ifstream in(at(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    /// Returns the names of the folder's entries, sorted.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            found.push_back(utf8(entry.path().filename()));
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    static std::string nameOfTest() {
        std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        std::replace(name.begin(), name.end(), '/', '-');
        return name;
    }
    std::filesystem::path at(const std::string& name) const {
        return path_ / std::u8string(name.begin(), name.end());
    }
    static std::string utf8(const std::filesystem::path& path) {
        const std::u8string text = path.generic_u8string();
        return {text.begin(), text.end()};
    }

    std::filesystem::path path_;
};

/// Whether names are bytes, of which only the slash and zero are special.
inline constexpr bool kNamesAreBytes = std::filesystem::path::preferred_separator == '/';

/// As many files as a careless program leaves behind; Wine takes a minute to make so many.
inline constexpr int kManyFiles = kNamesAreBytes ? 10000 : 1000;
