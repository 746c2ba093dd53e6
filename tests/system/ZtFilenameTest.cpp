// Paths and their parts.
#include <gtest/gtest.h>
#include <ztlib/ZtFilename.h>

#include <string>

#include "ScratchFolder.h"

namespace {

TEST(ZtFilename, HasADirectoryAndABaseName) {
    struct Row {
        const char* path;
        const char* dirname;
        const char* basename;
    };
    for (const Row& row :
         {Row{"/a/b", "/a", "b"}, Row{"a/b", "a", "b"}, Row{"/b", "/", "b"},
          Row{"b.log", ".", "b.log"}, Row{"", ".", ""}, Row{"/", "/", ""}, Row{"/tmp/", "/tmp", ""},
          Row{"a//b", "a", "b"}, Row{"//b", "/", "b"}, Row{"C:/b", "C:/", "b"},
          Row{"C:/a/b", "C:/a", "b"}, Row{"..", ".", ".."}, Row{"a\\b", ".", "a\\b"}}) {
        const ZtFilename path(row.path);
        EXPECT_STREQ(row.dirname, path.dirname().getString()) << row.path;
        EXPECT_STREQ(row.basename, path.basename().getString()) << row.path;
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
