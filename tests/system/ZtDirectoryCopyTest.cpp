// Copies of directories: the same as the original, and nothing else touched.
#include <gtest/gtest.h>
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtTmpDir.h>

#include <cerrno>
#include <cstring>
#include <iterator>
#include <map>
#include <string>

#include "ScratchFolder.h"
#include "platform/PlatformDirectory.h"
#include "platform/PlatformFaults.h"

namespace {

namespace fs = std::filesystem;
using platform::Call;
using platform::CallFaults;

int copy(const std::string& from, const std::string& to) {
    return ZtDirectory::copy(from.c_str(), to.c_str());
}

// What lies below a directory: by its path there a file's content, a link's target, or "/".
std::map<std::string, std::string> contentOf(const fs::path& path) {
    std::map<std::string, std::string> content;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        std::string& text = content[entry.path().lexically_relative(path).generic_string()];
        if (entry.is_symlink()) {
            text = "-> " + fs::read_symlink(entry.path()).generic_string();
        } else if (entry.is_directory()) {
            text = "/";
        } else {
            std::ifstream file(entry.path(), std::ios::binary);
            text.assign(std::istreambuf_iterator<char>(file), {});
        }
    }
    return content;
}

class ZtDirectoryCopy : public testing::Test {
protected:
    ZtDirectoryCopy() {
        folder.addFolder("from/sub/empty");
        folder.addFile("from/a", "text");
        folder.addFile("from/sub/large", std::string(200001, 'x'));
        folder.addFile("from/sub/none");
        folder.addFile("outside", "kept");
        if (kNamesAreBytes) {
            fs::create_symlink("../../outside", folder.path() / "from/sub/toFile");
            fs::create_symlink("..", folder.path() / "from/sub/up");
            fs::permissions(folder.path() / "from/a", fs::perms(0540));
        }
    }

    // Expects that copying fails and says so about one entry of the source or the target.
    void expectFailure(const std::string& source, const std::string& target,
                       const std::string& entry, int error) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(-1, copy(source, target));
        EXPECT_EQ("Can't copy " + entry + ":\n" + std::strerror(error) + "\n",
                  testing::internal::GetCapturedStderr());
    }

    const ScratchFolder folder;
    const std::string from = folder.of("from");
    const std::string to = folder.of("to");
};

TEST_F(ZtDirectoryCopy, IsTheSameAsTheOriginal) {
    const auto original = contentOf(from);
    const int count = static_cast<int>(original.size()) + 1;
    EXPECT_EQ(count, copy(from, to + "/"));
    EXPECT_EQ(original, contentOf(to));
    if (kNamesAreBytes) {
        EXPECT_EQ(fs::perms(0540), fs::status(to + "/a").permissions());
        fs::create_symlink("from", folder.path() / "link");
        EXPECT_EQ(count, copy(folder.of("link"), folder.of("to2")));
    }
}

TEST_F(ZtDirectoryCopy, FillsUpWhatIsThereAndWritesThroughNoLink) {
    auto expected = contentOf(from);
    folder.addFolder("to/sub");
    folder.addFile("to/sub/large", "old");
    folder.addFile("to/more", "more");
    expected["more"] = "more";
    if (kNamesAreBytes) {
        fs::create_symlink("../outside", folder.path() / "to/a");
        fs::create_hard_link(folder.path() / "from/sub/none", folder.path() / "to/sub/none");
    }
    EXPECT_LT(0, copy(from, to));
    EXPECT_EQ(expected, contentOf(to));
    EXPECT_EQ("kept", folder.read("outside"));
}

TEST_F(ZtDirectoryCopy, RefusesWhatCannotWork) {
    expectFailure(from, from + "/sub/new/", from + "/sub/new", EINVAL);
    expectFailure(folder.of("missing"), to, folder.of("missing"), ENOENT);
    expectFailure(folder.of("outside"), to, folder.of("outside"), ENOTDIR);
    expectFailure(from, folder.of("outside"), folder.of("outside"), ENOTDIR);
    EXPECT_FALSE(fs::exists(to));
}

TEST_F(ZtDirectoryCopy, GoesOnAfterFailures) {
    auto expected = contentOf(from);
    CallFaults faults;
    faults.fail(Call::kWriteFile, ENOSPC, kNamesAreBytes ? 2 : 1);  // in the large file
    expectFailure(from, to, from + "/sub/large", ENOSPC);
    expected.erase("sub/large");
    EXPECT_EQ(expected, contentOf(to));
    faults.fail(Call::kMakeDirectory, EROFS, 1);
    expectFailure(from, folder.of("to2"), from + "/sub", EROFS);
    EXPECT_EQ(1u, contentOf(folder.of("to2")).size());
    faults.fail(Call::kReadDirectory, EIO, 1);
    expectFailure(from, folder.of("to3"), from, EIO);
    if (kNamesAreBytes) {
        for (const Call call : {Call::kOpenFile, Call::kReadFile, Call::kWriteFile})
            faults.fail(call, EINTR, 1, 3);
        EXPECT_LT(0, copy(from, to));
        EXPECT_EQ(contentOf(from), contentOf(to));
    }
}

// A chain of directories that is deeper than any path is long. Where the system knows entries by
// their paths only: one that it can bear (Windows: 32767 characters, Wine: about 4000).
const int kDepth = kNamesAreBytes ? 2000 : 100;
const std::string kName = kNamesAreBytes ? std::string(254, '\xfe') + "\x81" : "0123456789";

long openDescriptors() {
    const fs::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

TEST_F(ZtDirectoryCopy, DepthCostsNeitherStackNorDescriptors) {
    {
        platform::TreeCursor cursor;
        ASSERT_EQ(0, cursor.open(folder.addFolder("deep").c_str()));
        for (int level = 0; level < kDepth; ++level) {
            ASSERT_EQ(0, cursor.makeDirectory(kName.c_str(), 0777));
            ASSERT_EQ(0, cursor.enter(kName.c_str()));
        }
    }
    CallFaults faults;
    long most = kNamesAreBytes ? openDescriptors() + 24 : 0;
    const auto expectFew = [](void* limit) {
        EXPECT_GE(*static_cast<long*>(limit), openDescriptors());
    };
    if (kNamesAreBytes)
        faults.before(Call::kMakeDirectory, expectFew, &most);
    EXPECT_EQ(kDepth + 1, copy(folder.of("deep"), to));
    if (kNamesAreBytes)
        faults.before(Call::kRemoveDirectory, expectFew, &(most -= 8));
    for (const char* name : {"deep", "to"}) {
        ZtTmpDir directory;
        directory = folder.of(name).c_str();
        EXPECT_EQ(0, directory.remove());
        EXPECT_FALSE(fs::exists(folder.of(name)));
    }
    EXPECT_EQ(2 * (kDepth + 1), faults.calls(Call::kRemoveDirectory));
}

}  // namespace
