// A folder for files, which goes with everything in it.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

class TemporaryFolder {
public:
    /// One of its own among the system's temporary files, with this in its name.
    explicit TemporaryFolder(const std::string& name) {
        std::random_device random;
        do
            path_ = std::filesystem::temp_directory_path() /
                    ("ztlib-" + name + "-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
    }
    /// An empty one of a fixed name, which another process finds as well.
    TemporaryFolder(const std::filesystem::path& parent, const std::string& name)
        : path_(parent / ("ztlib-" + name)) {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

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
    std::filesystem::path at(const std::string& name) const {
        return path_ / std::u8string(name.begin(), name.end());
    }
    static std::string utf8(const std::filesystem::path& path) {
        const std::u8string text = path.generic_u8string();
        return {text.begin(), text.end()};
    }

    std::filesystem::path path_;
};
