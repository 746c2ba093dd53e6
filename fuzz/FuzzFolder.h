// A folder for the files of a fuzz entry, which goes with the process.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

class FuzzFolder {
public:
    FuzzFolder() {
        std::random_device random;
        do
            path_ =
                std::filesystem::temp_directory_path() / ("ztlib-fuzz-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
    }
    ~FuzzFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// The path of an entry.
    std::string of(const char* name) const { return (path_ / name).string(); }

    /// Writes a file and returns its path.
    std::string addFile(const char* name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return of(name);
    }

private:
    std::filesystem::path path_;
};
