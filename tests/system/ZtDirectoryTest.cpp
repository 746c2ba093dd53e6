// Paths, directory queries and listings: stories, patterns against a model, and what may go wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtFilename.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ScratchFolder.h"
#include "platform/PlatformFaults.h"

namespace {

namespace fs = std::filesystem;
using platform::Call;
using platform::CallFaults;
using testing::ElementsAre;
using Names = ZtDArray<ZtString, 1>;
using Ticks = ZtDArray<unsigned long long, 1>;

std::vector<std::string> textsOf(const Names& names) {
    std::vector<std::string> texts;
    for (const ZtString& name : names)
        texts.push_back(name.getString());
    return texts;
}

TEST(ZtDirectory, ScanSortsByBytesAndKeepsWhatTheListHeld) {
    const ScratchFolder folder;
    for (const char* name : {"b.log", "a.log", "C.log", ".x.log", "readme"})
        folder.addFile(name);
    folder.addFolder("d.log/inner");
    const std::string path = folder.of("");
    Names list;
    list.push("c");
    EXPECT_EQ(2, ZtDirectory::scan(path.c_str(), list, nullptr, true));
    EXPECT_THAT(textsOf(list), ElementsAre("c", "d.log"));
    EXPECT_EQ(-1, ZtDirectory::scan(path.c_str(), list, "nothing*"));
    EXPECT_EQ(-1, ZtDirectory::scan(path.c_str(), list, ""));
    EXPECT_EQ(-1, ZtDirectory::scan(folder.of("missing").c_str(), list));

    // The pattern may go on with the path, with either separator.
    for (const char* pattern : {"d.log/*", "d.log\\i*r", "./d.log/./inn??"}) {
        Names found;
        EXPECT_EQ(1, ZtDirectory::scan((path + "/").c_str(), found, pattern)) << pattern;
        EXPECT_THAT(textsOf(found), ElementsAre("inner")) << pattern;
    }

    // Where only directories are wanted, files match and are left out; in an empty one, the dots.
    EXPECT_EQ(0, ZtDirectory::scan(path.c_str(), list = Names(), "b*", true));
    EXPECT_EQ(0, ZtDirectory::scan(folder.of("d.log/inner").c_str(), list));

    Names files, dirs;
    files.push("m");
    EXPECT_TRUE(ZtDirectory::scan3(path.c_str(), files, dirs, "*.log"));
    EXPECT_THAT(textsOf(files), ElementsAre(".x.log", "C.log", "a.log", "b.log", "m"));
    EXPECT_THAT(textsOf(dirs), ElementsAre("d.log"));
    EXPECT_FALSE(ZtDirectory::scan3(path.c_str(), files, dirs, "nothing"));
    EXPECT_EQ(5, files.size());
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(1, ZtDirectory::scan("", list = Names(), "C.*"));
    EXPECT_EQ(1, ZtDirectory::scan(nullptr, list = Names(), "?.log", true));
    fs::current_path(before);
}

TEST(ZtDirectory, Scan2SortsByTheTimeOfMaking) {
    const ScratchFolder folder;
    for (const char* name : {"z", "m", "a"}) {
        folder.addFile(name);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    folder.addFolder("0");
    Names list;
    list.push("old");
    Ticks times;
    EXPECT_EQ(4, ZtDirectory::scan2(folder.of("").c_str(), list, &times));
    EXPECT_THAT(textsOf(list), ElementsAre("z", "m", "a", "0"));
    ASSERT_EQ(4, times.size());
    for (int i = 0; i < 3; ++i)
        EXPECT_LT(times[i], times[i + 1]);
    // 100 ns since 1601, from seconds since 1970.
    const auto now = static_cast<unsigned long long>(std::time(nullptr)) + 11644473600;
    EXPECT_GE(2, std::llabs(static_cast<long long>(times[3] / 10000000 - now)));

    EXPECT_EQ(-1, ZtDirectory::scan2(folder.of("").c_str(), list, &times, "nothing"));
    EXPECT_EQ(4, list.size());
    ZtDArray<std::uint64_t, 1> standardTimes;
    EXPECT_EQ(1, ZtDirectory::scan2(folder.of("").c_str(), list, &standardTimes, nullptr, true));
    EXPECT_EQ(times[3], standardTimes[0]);
    EXPECT_EQ(0, ZtDirectory::scan2(folder.of("0").c_str(), list, &times));
    EXPECT_EQ(0, list.size() + times.size());
}

TEST(ZtDirectory, PatternsMatchWholeNames) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "the system's own search has more rules";
    const ScratchFolder folder;
    folder.addFile("ab.abc.a");
    const std::pair<const char*, bool> rows[] = {
        {"ab.abc.a", true}, {"*", true},     {"**a*", true},  {"?b*", true},    {"*abc*a", true},
        {"a*b*c.?", true},  {"*b.a", false}, {"a*bc", false}, {"?", false},     {"*a?c.b", false},
        {"*c.a?", false},   {"b*", false},   {"ab", false},   {"*?.*c.a", true}};
    for (const auto& [pattern, isMatch] : rows) {
        Names found;
        EXPECT_EQ(isMatch, ZtDirectory::scan(folder.of("").c_str(), found, pattern) == 1)
            << pattern;
    }
}

TEST(ZtDirectory, WhatIsMissingCountsAsADirectory) {
    const ScratchFolder folder;
    const std::string file = folder.addFile("f");
    const std::string inner = folder.addFolder("d/inner");
    std::vector<std::pair<std::string, bool>> rows{{"", false},
                                                   {file, false},
                                                   {file + "/", false},
                                                   {file + "\\", false},
                                                   {inner, true},
                                                   {inner + "//", true},
                                                   {folder.of("d\\inner\\"), true},
                                                   {folder.of("missing"), true}};
    if (kNamesAreBytes) {
        folder.addFile("d\\file");
        folder.addFolder("e\\");
        fs::create_symlink("d", folder.path() / "toFolder");
        fs::create_symlink("f", folder.path() / "toFile");
        fs::create_symlink("nowhere", folder.path() / "dangling");
        for (const char* path : {"/", "\\"})
            rows.push_back({path, true});
        for (const char* name : {"e\\", "toFolder/"})
            rows.push_back({folder.of(name), true});
        for (const char* name : {"d\\file", "toFile", "dangling"})
            rows.push_back({folder.of(name), false});
    }
    for (const auto& [path, isDirectory] : rows)
        EXPECT_EQ(isDirectory, ZtDirectory::isDirectory(path.c_str())) << path;
    EXPECT_FALSE(ZtDirectory::isDirectory(nullptr));
}

TEST(ZtDirectory, ListsLinksAndNamesOfAnyBytes) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "making links takes a privilege, and names are 16-bit units";
    const ScratchFolder folder;
    folder.addFolder("d");
    fs::create_symlink("d", folder.path() / "toFolder");
    fs::create_symlink("nowhere", folder.path() / "dangling");
    const std::vector<std::string> names{std::string(255, 'n'), "\x80" + std::string(254, '\xfe'),
                                         "\xff" + std::string(254, '\x81')};
    for (const std::string& name : names)
        folder.addFile(name);
    Names list;
    EXPECT_EQ(2, ZtDirectory::scan(folder.of("").c_str(), list, nullptr, true));
    EXPECT_THAT(textsOf(list), ElementsAre("d", "toFolder"));
    EXPECT_EQ(
        3, ZtDirectory::scan(folder.of("").c_str(), list = Names(), std::string(255, '?').c_str()));
    EXPECT_EQ(names, textsOf(list));
}

TEST(ZtDirectory, FailuresOfTheSystemLoseNothing) {
    const ScratchFolder folder;
    for (int i = 0; i < 6; ++i)
        folder.addFile(std::to_string(i));
    const std::string path = folder.of("");
    Names list;
    Ticks times;
    CallFaults faults;
    faults.fail(Call::kOpenDirectory, EACCES);
    list.push("z");
    EXPECT_EQ(-1, ZtDirectory::scan(path.c_str(), list));
    faults.fail(Call::kReadDirectory, EIO);
    EXPECT_EQ(-1, ZtDirectory::scan2(path.c_str(), list, &times));
    EXPECT_THAT(textsOf(list), ElementsAre("z"));
    faults.fail(Call::kReadDirectory, EIO, 5);  // after three of the six at least
    EXPECT_GE(ZtDirectory::scan(path.c_str(), list), 4);
    if (kNamesAreBytes) {
        for (const Call call : {Call::kOpenDirectory, Call::kReadDirectory, Call::kExamine}) {
            faults.fail(call, EINTR, 0, 3);
            EXPECT_EQ(6, ZtDirectory::scan2(path.c_str(), list, &times));
        }
        faults.fail(Call::kExamine, ENOENT, 1);
        EXPECT_EQ(6, ZtDirectory::scan2(path.c_str(), list, &times)) << "a vanished entry stays";
        EXPECT_EQ(0u, times[0]);
        EXPECT_LT(0u, times[1]);
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(-1, ZtDirectory::freeSpace("\\no\\such\\place"));
    std::fflush(stdout);
    EXPECT_EQ("Could not determine free disk space in >/no/such<\n",
              testing::internal::GetCapturedStdout());
    EXPECT_LT(0, ZtDirectory::freeSpace(path.c_str()));
    EXPECT_LT(0, ZtDirectory::freeSpace("name"));
}

TEST(ZtFilename, HasADirectoryAndABaseName) {
    const char* const rows[][3] = {
        {"a/b", "a", "b"},  {"/b", "/", "b"},     {"b.log", ".", "b.log"},
        {"", ".", ""},      {"/", "/", ""},       {"/tmp/", "/tmp", ""},
        {"a//b", "a", "b"}, {"C:/b", "C:/", "b"}, {"C:/a/b", "C:/a", "b"}};
    for (const auto& [path, dirname, basename] : rows) {
        EXPECT_STREQ(dirname, ZtFilename(path).dirname().getString()) << path;
        EXPECT_STREQ(basename, ZtFilename(path).basename().getString()) << path;
    }
    EXPECT_EQ(0, ZtFilename::doesExist(nullptr));
    EXPECT_EQ(0, ZtFilename::doesExist("no/such"));
    EXPECT_NE(0, ZtFilename::doesExist("."));
    EXPECT_STREQ("/a", ZtFilename("\\a\\b").fixSlashes().dirname().getString());
    EXPECT_STREQ(".", ZtFilename(nullptr).dirname().getString());
}

}  // namespace
