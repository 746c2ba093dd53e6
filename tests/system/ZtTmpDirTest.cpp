// Scratch directories: their names, and their removal whatever lies in them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtTmpDir.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "EnvironmentVariable.h"
#include "ScratchFolder.h"
#include "platform/PlatformFaults.h"

namespace {

namespace fs = std::filesystem;
using platform::Call;
using platform::CallFaults;

// A folder that is the system's one for temporary files while it lives.
struct SystemFolder : ScratchFolder {
    EnvironmentVariable tmpdir{"TMPDIR", path().string()};
    EnvironmentVariable tmp{"TMP", path().string()};
};

TEST(ZtTmpDir, NamesAreUniqueAndEndWithASlash) {
    const SystemFolder folder;
    const std::string system = ZtTmpDir::getSystemTmpPath();
    EXPECT_EQ(folder.of(""), system);
    const std::string base = folder.addFolder("base");
    folder.addFolder("base/taken");
    folder.addFolder("base/taken.2");
    folder.addFile("base/taken.3");
    if (kNamesAreBytes)
        fs::create_symlink("nowhere", folder.path() / "base/taken.4");
    const fs::path before = fs::current_path();
    fs::current_path(base);
    std::vector<std::pair<std::string, std::string>> rows{
        {"", system + "tmp/"},
        {"x//", system + "tmp/"},
        {"a/b/c", system + "c/"},
        {"base", system + "base.2/"},
        {".", system + "..2/"},
        {"./work/", "./work/"},
        {"./taken", kNamesAreBytes ? "./taken.5/" : "./taken.4/"}};
    if (kNamesAreBytes)  // elsewhere an absolute name begins with a drive
        rows.insert(rows.end(), {{base, system + "base.2/"},
                                 {base + "/new", base + "/new/"},
                                 {base + "/taken.2/", base + "/taken.2.2/"}});
    for (const auto& [name, path] : rows)
        EXPECT_EQ(path, ZtTmpDir(name.c_str()).str()) << name;
    fs::current_path(before);

    ZtTmpDir first;
    EXPECT_EQ(system + "tmp/", first.str());
    EXPECT_TRUE(!first.autoRemove() && first.doesExist() == 0);
    EXPECT_NE(0, first.create());
    EXPECT_EQ(0, first.create());
    EXPECT_EQ(0, ZtTmpDir::doesExist(nullptr));
    first.makeUnique(first.str() + std::strlen(first.str()) - 4);  // of its own text
    EXPECT_EQ(system + "tmp.2/", first.str());
}

TEST(ZtTmpDir, TheSystemsPathIsThatOfTheEnvironment) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "the system reads its own variables";
    const std::string rows[][4] = {{"", "", "", "/tmp/"},
                                   {"/a", "/b", "/c", "/a/"},
                                   {"", "\\b\\d\\", "/c", "/b/d/"},
                                   {"", "", "/c/", "/c/"},
                                   {std::string(1023, 'x'), "/b", "", "/tmp/"}};
    for (const auto& [first, second, third, path] : rows) {
        const EnvironmentVariable tmpdir("TMPDIR", first), tmp("TMP", second), temp("TEMP", third);
        EXPECT_EQ(path, ZtTmpDir::getSystemTmpPath());
    }
}

TEST(ZtTmpDir, OwnsItsTreeIfToldSo) {
    const SystemFolder folder;
    {
        ZtTmpDir kept("kept", true);
        ZtTmpDir gone("gone", true, true);
        folder.addFile("gone/sub/file");
        ZtTmpDir copy(gone);
        EXPECT_TRUE(copy.autoRemove());
        copy.setAutoRemove(false);
        kept = copy;
        kept = folder.of("kept").c_str();
        EXPECT_EQ(folder.of("kept"), kept.str());
    }
    EXPECT_TRUE(fs::exists(folder.path() / "kept"));
    EXPECT_FALSE(fs::exists(folder.path() / "gone"));
}

TEST(ZtTmpDir, ExclusiveOnesAreNeverShared) {
    const SystemFolder folder;
    std::vector<std::thread> threads;
    std::atomic<int> made{0};
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&made] {
            for (int k = 0; k < 25; ++k)
                made += *ZtTmpDir::createExclusive("job").str() != '\0';
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(100, made);
    EXPECT_EQ(100u, folder.names().size());
    if (kNamesAreBytes) {
        EXPECT_EQ(fs::perms::owner_all, fs::status(folder.of(folder.names()[0])).permissions());
    }
    CallFaults faults;
    faults.fail(Call::kMakeDirectory, EEXIST);
    EXPECT_STRNE("", ZtTmpDir::createExclusive().str());
    faults.fail(Call::kMakeDirectory, EACCES);
    EXPECT_STREQ("", ZtTmpDir::createExclusive().str());
}

TEST(ZtTmpDirRemove, NeverFollowsALink) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "making links takes a privilege";
    const ScratchFolder folder;
    folder.addFolder("outside");
    folder.addFile("outside/file", "content");
    for (const char* place : {"tree", "tree/sub"}) {
        folder.addFolder(place);
        fs::create_symlink(folder.path() / "outside", folder.path() / place / "toFolder");
        fs::create_symlink(folder.path() / "outside/file", folder.path() / place / "toFile");
        fs::create_symlink("..", folder.path() / place / "up");
        fs::create_symlink("nowhere", folder.path() / place / "dangling");
    }
    fs::create_symlink("outside", folder.path() / "link");
    ZtTmpDir directory;
    for (const std::string& path :
         {folder.of("link"), folder.of("link/"), folder.of("outside/file"), folder.of("missing"),
          std::string(), std::string("/")}) {
        directory = path.c_str();
        EXPECT_EQ(-1, directory.remove()) << path;
    }
    directory = folder.of("tree/").c_str();
    EXPECT_EQ(0, directory.remove());
    EXPECT_FALSE(fs::exists(folder.path() / "tree"));
    EXPECT_EQ("content", folder.read("outside/file"));
}

TEST(ZtTmpDirRemove, TellsWhatItCouldNotRemoveAndGoesOn) {
    const ScratchFolder folder;
    const auto message = [&](const std::string& name, int error) {
        return "Can't delete " + folder.of("tree/") + name + ":\n" + std::strerror(error) + "\n";
    };
    ZtTmpDir directory;
    const auto remove = [&] {
        testing::internal::CaptureStderr();
        EXPECT_NE(0, directory.remove());
        return testing::internal::GetCapturedStderr();
    };
    directory = folder.of("tree/").c_str();
    folder.addFolder("tree/b");
    for (const char* file : {"tree/a", "tree/b/x", "tree/b/y", "tree/c"})
        folder.addFile(file);
    CallFaults faults;
    faults.fail(Call::kRemoveFile, EACCES, 1);
    EXPECT_EQ(message("/b/x", EACCES) + message("/b", ENOTEMPTY) + message("", ENOTEMPTY),
              remove());
    EXPECT_FALSE(fs::exists(folder.path() / "tree/b/y") || fs::exists(folder.path() / "tree/c"));

    // A directory that cannot be read cannot be emptied; one that is empty goes all the same.
    faults.fail(Call::kOpenDirectory, EACCES, 2);
    EXPECT_EQ(message("/b", ENOTEMPTY) + message("", ENOTEMPTY), remove());
    faults.fail(Call::kRemoveDirectory, EROFS, 1);
    EXPECT_EQ(message("", EROFS), remove());
    faults.fail(Call::kOpenDirectory, EACCES);
    EXPECT_EQ(0, directory.remove());

    // What goes meanwhile, and interruptions.
    folder.addFolder("tree");
    std::string file = folder.addFile("tree/b");
    faults.before(
        Call::kRemoveFile, [](void* path) { fs::remove(*static_cast<std::string*>(path)); }, &file);
    if (kNamesAreBytes) {
        for (const Call call : {Call::kOpenDirectory, Call::kReadDirectory, Call::kRemoveFile})
            faults.fail(call, EINTR, 0, 2);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, directory.remove());
    EXPECT_EQ(message("/b", ENOENT), testing::internal::GetCapturedStderr());
}

// Somebody moves a directory away while the walk is in it: the walk must not go on where the
// directory is now.
TEST(ZtTmpDirRemove, StopsWhenTheWayBackIsGone) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "the walk goes by paths there";
    const ScratchFolder folder;
    std::string path = "tree";
    for (int level = 0; level < 20; ++level)
        path += "/d";
    folder.addFolder(path);
    folder.addFile(path + "/file");
    folder.addFolder("outside/d");
    folder.addFile("outside/d/file", "content");
    std::string root = folder.of("");
    CallFaults faults;
    faults.before(
        Call::kRemoveFile,
        [](void* context) {
            const std::string& place = *static_cast<std::string*>(context);
            fs::rename(place + "tree/d/d/d", place + "outside/moved");
        },
        &root);
    ZtTmpDir directory;
    directory = folder.of("tree").c_str();
    testing::internal::CaptureStderr();
    EXPECT_NE(0, directory.remove());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("Can't delete " + folder.of("tree/d/d/d") + ":\n"));
    EXPECT_TRUE(fs::exists(folder.path() / "outside/d/file"));
    EXPECT_TRUE(fs::exists(folder.path() / "outside/moved"));
}

}  // namespace
