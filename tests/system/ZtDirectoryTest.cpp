// Paths, directory queries and listings: stories, patterns against a model, and what may go wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtTmpDir.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FailEveryAllocation.h"
#include "Random.h"
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
    EXPECT_EQ(5, ZtDirectory::scan(path.c_str(), list, "*.log"));
    EXPECT_THAT(textsOf(list), ElementsAre(".x.log", "C.log", "a.log", "b.log", "d.log"));
    list.clear();
    list.push("c");
    EXPECT_EQ(2, ZtDirectory::scan(path.c_str(), list, nullptr, true));
    EXPECT_THAT(textsOf(list), ElementsAre("c", "d.log"));
    EXPECT_EQ(-1, ZtDirectory::scan(path.c_str(), list, "nothing*"));
    EXPECT_EQ(-1, ZtDirectory::scan(path.c_str(), list, ""));
    EXPECT_EQ(-1, ZtDirectory::scan(folder.of("missing").c_str(), list));
    EXPECT_EQ(-1, ZtDirectory::scan(folder.of("readme").c_str(), list));
    EXPECT_THAT(textsOf(list), ElementsAre("c", "d.log"));

    // The pattern may go on with the path, with either separator.
    for (const char* pattern : {"d.log/*", "d.log\\i*r", "./d.log/./inn??"}) {
        Names found;
        EXPECT_EQ(1, ZtDirectory::scan((path + "/").c_str(), found, pattern)) << pattern;
        EXPECT_THAT(textsOf(found), ElementsAre("inner")) << pattern;
    }

    // Where only directories are wanted, files match and are left out.
    Names none;
    EXPECT_EQ(0, ZtDirectory::scan(path.c_str(), none, "b*", true));
    // The dots match, so an empty directory is not a failed search.
    EXPECT_EQ(0, ZtDirectory::scan(folder.of("d.log/inner").c_str(), none));
    EXPECT_EQ(2, ZtDirectory::scan(folder.of("d.log/inner").c_str(), list));

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
    const auto now = [] {
        // 100 ns since 1601, from seconds since 1970.
        return static_cast<unsigned long long>(
            (std::chrono::duration_cast<std::chrono::seconds>(
                 std::chrono::system_clock::now().time_since_epoch())
                 .count() +
             11644473600) *
            10000000);
    };
    const unsigned long long start = now();
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
    EXPECT_GE(times[0] + 20000000, start);
    EXPECT_LE(times[3], now() + 20000000);

    EXPECT_EQ(-1, ZtDirectory::scan2(folder.of("").c_str(), list, &times, "nothing"));
    EXPECT_EQ(4, list.size());
    ZtDArray<std::uint64_t, 1> standardTimes;
    EXPECT_EQ(1, ZtDirectory::scan2(folder.of("").c_str(), list, &standardTimes, nullptr, true));
    EXPECT_EQ(times[3], standardTimes[0]);
    EXPECT_EQ(0, ZtDirectory::scan2(folder.of("0").c_str(), list, &times));
    EXPECT_EQ(0, list.size() + times.size());
    EXPECT_EQ(4, ZtDirectory::scan2(folder.of("").c_str(), list, nullptr));
}

// The plain form of the matcher.
bool isMatch(const std::string& name, const std::string& pattern) {
    if (pattern.empty())
        return name.empty();
    if (pattern[0] == '*')
        return isMatch(name, pattern.substr(1)) ||
               (!name.empty() && isMatch(name.substr(1), pattern));
    return !name.empty() && (pattern[0] == '?' || pattern[0] == name[0]) &&
           isMatch(name.substr(1), pattern.substr(1));
}

TEST(ZtDirectory, PatternsAgreeWithTheirPlainForm) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "the system's own search has more rules";
    const ScratchFolder folder;
    Random random(7);
    const auto text = [&](const std::string& alphabet, int most) {
        std::string result;
        for (int n = random.below(most); n >= 0; --n)
            result += random.of(alphabet);
        return result;
    };
    std::set<std::string> names;
    for (int i = 0; i < 60; ++i)
        names.insert(text("ab.[", 6));
    names.erase(".");
    names.erase("..");
    for (const std::string& name : names)
        folder.addFile(name);
    for (int round = 0; round < 3000; ++round) {
        const std::string pattern = text("ab.[**??", 7);
        SCOPED_TRACE(pattern);
        std::vector<std::string> expected;
        for (const std::string& name : names)
            if (isMatch(name, pattern))
                expected.push_back(name);
        const bool isAnyMatch =
            !expected.empty() || isMatch(".", pattern) || isMatch("..", pattern);
        Names found;
        ASSERT_EQ(isAnyMatch ? static_cast<int>(expected.size()) : -1,
                  ZtDirectory::scan(folder.of("").c_str(), found, pattern.c_str()));
        ASSERT_EQ(expected, textsOf(found));
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
                                                   {folder.of("missing"), true},
                                                   {file + "/below", true}};
    if (kNamesAreBytes) {
        folder.addFile("d\\file");
        folder.addFolder("e\\");
        fs::create_symlink("d", folder.path() / "toFolder");
        fs::create_symlink("f", folder.path() / "toFile");
        fs::create_symlink("nowhere", folder.path() / "dangling");
        for (const char* path : {"/", "//", "\\"})
            rows.push_back({path, true});
        for (const char* name : {"e\\", "toFolder", "toFolder/"})
            rows.push_back({folder.of(name), true});
        for (const char* name : {"d\\file", "toFile", "dangling"})
            rows.push_back({folder.of(name), false});
    } else {
        rows.insert(rows.end(), {{"C:\\", false}, {"C:/", false}});
    }
    for (const auto& [path, isDirectory] : rows)
        EXPECT_EQ(isDirectory, ZtDirectory::isDirectory(path.c_str())) << path;
    EXPECT_FALSE(ZtDirectory::isDirectory(nullptr));
    EXPECT_EQ('\\', ZtDirectory::pathDelimiter());
}

TEST(ZtDirectory, ListsLinksAndNamesOfAnyBytes) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "making links takes a privilege, and names are 16-bit units";
    const ScratchFolder folder;
    folder.addFolder("d");
    folder.addFolder("back\\slash/inner");
    fs::create_symlink("d", folder.path() / "toFolder");
    fs::create_symlink("nowhere", folder.path() / "dangling");
    std::vector<std::string> names{std::string(255, 'n')};
    for (const char first : {'\x80', '\xc3', '\xff'})  // in the order of bytes
        names.push_back(first + std::string(253, '\xfe') + "\x81");
    for (const std::string& name : names)
        folder.addFile(name);
    Names list;
    EXPECT_EQ(3, ZtDirectory::scan(folder.of("").c_str(), list, nullptr, true));
    EXPECT_THAT(textsOf(list), ElementsAre("back\\slash", "d", "toFolder"));
    EXPECT_EQ(
        4, ZtDirectory::scan(folder.of("").c_str(), list = Names(), std::string(255, '?').c_str()));
    EXPECT_EQ(names, textsOf(list));
    EXPECT_EQ(1, ZtDirectory::scan(folder.of("back\\slash").c_str(), list = Names()));
    EXPECT_EQ(-1, ZtDirectory::scan(folder.of("back\\slash\\inner").c_str(), list))
        << "no such name as it stands, nor with slashes throughout";
}

TEST(ZtDirectory, ReadsAndRemovesTenThousandEntries) {
    const ScratchFolder folder;
    folder.addFolder("many");
    for (int i = 0; i < kManyFiles; ++i)
        folder.addFile("many/" + std::to_string(i) + ".log");
    const std::string path = folder.of("many/");
    Names list;
    Ticks times;
    EXPECT_EQ(kManyFiles, ZtDirectory::scan2(path.c_str(), list, &times, "*.log"));
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_EQ(kManyFiles / 10, ZtDirectory::scan(path.c_str(), list = Names(), "*7.log"));
    EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
    ZtTmpDir directory;
    directory = path.c_str();
    EXPECT_EQ(0, directory.remove());
    EXPECT_FALSE(fs::exists(path));
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
    faults.fail(Call::kReadDirectory, EIO, 5);  // three of the six at least
    const int found = ZtDirectory::scan(path.c_str(), list);
    EXPECT_GE(found, 4);
    EXPECT_LE(found, 6);
    if (kNamesAreBytes) {
        for (const Call call : {Call::kOpenDirectory, Call::kReadDirectory, Call::kExamine}) {
            faults.fail(call, EINTR, 0, 3);
            EXPECT_EQ(6, ZtDirectory::scan2(path.c_str(), list, &times));
        }
        EXPECT_LT(0u, times[0]);
        faults.fail(Call::kExamine, ENOENT, 1);
        EXPECT_EQ(6, ZtDirectory::scan2(path.c_str(), list, &times)) << "a vanished entry stays";
        EXPECT_EQ(0u, times[0]);
        EXPECT_LT(0u, times[1]);
    }
    testing::internal::CaptureStdout();
    faults.fail(Call::kFreeSpace, EACCES);
    EXPECT_EQ(-1, ZtDirectory::freeSpace((path + "x").c_str()));
    EXPECT_EQ(-1, ZtDirectory::freeSpace("\\no\\such\\place"));
    std::fflush(stdout);
    std::string directory = path;
    directory.pop_back();
    EXPECT_EQ("Could not determine free disk space in >" + directory +
                  "<\nCould not determine free disk space in >/no/such<\n",
              testing::internal::GetCapturedStdout());
    EXPECT_LT(0, ZtDirectory::freeSpace(path.c_str()));
    EXPECT_LT(0, ZtDirectory::freeSpace("name"));
}

TEST(ZtDirectory, ListingsSurviveFailedAllocations) {
    const ScratchFolder folder;
    for (int i = 0; i < 40; ++i)
        folder.addFile(std::to_string(i) + std::string(30, 'x'));
    const std::string path = folder.of("");
    const std::function<void(Names&)> listings[] = {
        [&](Names& list) { ZtDirectory::scan(path.c_str(), list); },
        [&](Names& list) { ZtDirectory::scan2(path.c_str(), list); },
        [&](Names& list) {
            Names dirs;
            ZtDirectory::scan3(path.c_str(), list, dirs);
        }};
    for (const auto& listing : listings)
        failEveryAllocation(
            [] {
                Names list;
                list.push("z");
                return list;
            },
            listing, [](const Names& list) { EXPECT_THAT(textsOf(list), ElementsAre("z")); });
}

TEST(ZtFilename, HasADirectoryAndABaseName) {
    const char* const rows[][3] = {
        {"/a/b", "/a", "b"},     {"a/b", "a", "b"},       {"/b", "/", "b"},
        {"b.log", ".", "b.log"}, {"", ".", ""},           {"/", "/", ""},
        {"/tmp/", "/tmp", ""},   {"a//b", "a", "b"},      {"//b", "/", "b"},
        {"C:/b", "C:/", "b"},    {"C:/a/b", "C:/a", "b"}, {"..", ".", ".."},
        {"a\\b", ".", "a\\b"}};
    for (const auto& [path, dirname, basename] : rows) {
        EXPECT_STREQ(dirname, ZtFilename(path).dirname().getString()) << path;
        EXPECT_STREQ(basename, ZtFilename(path).basename().getString()) << path;
    }
    EXPECT_STREQ("/a", ZtFilename("\\a\\b").fixSlashes().dirname().getString());
    EXPECT_STREQ(".", ZtFilename(nullptr).dirname().getString());
}

TEST(ZtFilename, ExistsIfSomethingAnswers) {
    const ScratchFolder folder;
    const std::string file = folder.addFile("f");
    EXPECT_NE(0, ZtFilename::doesExist(file.c_str()));
    EXPECT_NE(0, ZtFilename::doesExist(folder.of("").c_str()));
    EXPECT_EQ(0, ZtFilename::doesExist((file + "2").c_str()));
    EXPECT_EQ(0, ZtFilename::doesExist(""));
    EXPECT_EQ(0, ZtFilename::doesExist(nullptr));
    if (kNamesAreBytes) {
        EXPECT_EQ(0, ZtFilename::doesExist((file + "/").c_str()));
        std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
        EXPECT_EQ(0, ZtFilename::doesExist(folder.of("dangling").c_str()));
    }
}

}  // namespace
