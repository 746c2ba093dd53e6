// Trees of great depth, and what it costs to walk them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>

#include "ScratchFolder.h"
#include "platform/PlatformDirectory.h"

/// A chain of directories of one name.
struct DeepTree {
    int depth;
    std::string name;

    void make(const std::string& path) const {
        std::filesystem::create_directory(path);
        platform::TreeCursor cursor;
        ASSERT_EQ(0, cursor.open(path.c_str()));
        for (int level = 0; level < depth; ++level) {
            ASSERT_EQ(0, cursor.makeDirectory(name.c_str(), 0777));
            ASSERT_EQ(0, cursor.enter(name.c_str()));
        }
    }
};

/// One that is deeper than any path is long. Where the system knows entries by their paths only:
/// one that it can bear (Windows: 32767 characters, Wine: about 4000).
inline DeepTree deepTree() {
    if (!kNamesAreBytes)
        return {100, "0123456789"};
    return {2000, std::string(254, '\xfe') + "\x81"};
}

/// Keeps the largest number of descriptors that the process has open at the calls it sees.
struct DescriptorCount {
    long most = 0;

    static long now() {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    }
    static void note(void* count) {
        long& most = static_cast<DescriptorCount*>(count)->most;
        most = std::max(most, now());
    }
};
