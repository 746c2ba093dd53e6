// ZtString: against std::string as a model, tables of named rows, and what must not go wrong.
#include <ztlib/ZtString.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

std::string text(const ZtString& s) {
    EXPECT_EQ(s.size(), s.length() + 1);
    EXPECT_EQ(s.getString()[s.length()], '\0');
    return std::string(s.getString(), static_cast<std::size_t>(s.length()));
}

ZtString ofLength(int n) {
    return ZtString(std::string(static_cast<std::size_t>(n), 'x').c_str());
}

// The capacity follows from the text's length and from how the buffer was filled.
TEST(ZtStringCapacity, FollowsTheOperation) {
    EXPECT_EQ(ZtString().getMax(), 16);
    EXPECT_EQ(ZtString("").getMax(), 16);
    EXPECT_EQ(ofLength(15).getMax(), 16);
    EXPECT_EQ(ofLength(16).getMax(), 17);
    const ZtString original("abc");
    EXPECT_EQ(ZtString(original).getMax(), 4);
    EXPECT_EQ((ZtString("abc") + "de").getMax(), 6);
    EXPECT_EQ(ZtString("abcdef", 2, 3).getMax(), 4);
    EXPECT_EQ(ZtString(ZtString("abc").substr(1, 2)).getMax(), 3);
    struct Row {
        int before, length, capacity;
    };
    for (const Row& row : {Row{0, 5, 64},
                           {0, 63, 64},
                           {0, 64, 96},
                           {0, 65, 128},
                           {0, 127, 128},
                           {0, 128, 192},
                           {0, 129, 256},
                           {5, 40, 48},
                           {15, 16, 24},
                           {20, 21, 31},
                           {20, 22, 42},
                           {2, 1, 16},
                           {0, 1500, 2048},
                           {1499, 1400, 1500}}) {
        ZtString s = ofLength(row.before);
        s.printf("%*s", row.length, "");
        EXPECT_EQ(s.getMax(), row.capacity) << row.before << " to " << row.length;
        EXPECT_EQ(text(s), std::string(static_cast<std::size_t>(row.length), ' '));
    }
    EXPECT_EQ(ZtString(0, "%*s", 64, "").getMax(), 96);
}

TEST(ZtString, SmallStory) {
    ZtString s("  ab  ");
    s.unpad();
    EXPECT_TRUE(s == "ab");
    s += "cd";
    s += 'e';
    s.insertStr(2, s.getString());
    EXPECT_EQ(text(s), "ababcdecde");
    s.replaceSubStr("ab", "xyz");
    EXPECT_EQ(text(s), "xyzxyzcdecde");
    s.replaceSubStr("cde", nullptr);
    EXPECT_EQ(text(s), "xyzxyz");
    s.printf("%s!%d", s.getString(), 5);
    EXPECT_EQ(text(s), "xyzxyz!5");
    errno = ENOENT;
    s.printf("%d", 1);
    EXPECT_EQ(errno, ENOENT);
    ZtDArray<ZtString> pieces;
    EXPECT_EQ(ZtString("a,,b").explode(',', pieces), 3);
    ASSERT_EQ(pieces.size(), 3);
    EXPECT_EQ(text(pieces[0]) + "|" + text(pieces[1]) + "|" + text(pieces[2]), "a||b");
    EXPECT_EQ(text(ZtString::fromInt64(-9223372036854775807LL - 1)), "-9223372036854775808");
    EXPECT_EQ(ZtString("a \"").protect(), "\"a \\\"\"");
}

// A text at either side. From C++20 on, the compiler may turn such comparisons round.
TEST(ZtStringCompare, TakesATextAtEitherSide) {
    const ZtString s("abc");
    char array[] = "abc";
    const auto expectEqual = [&s](auto text) {
        EXPECT_TRUE(s == text && text == s && s <= text && text <= s && s >= text && text >= s);
        EXPECT_FALSE(s != text || text != s || s < text || text < s || s > text || text > s);
    };
    expectEqual("abc");
    expectEqual(array + 0);
    expectEqual(ZtString("abc"));
    // Null is no text that one could be equal to; nor is it different. In order it comes first.
    const auto expectNeither = [&s](auto null) {
        EXPECT_FALSE(s == null || null == s || s != null || null != s || s < null || null > s);
        EXPECT_TRUE(s > null && null < s && s >= null && null <= s);
    };
    expectNeither(nullptr);
    expectNeither(static_cast<const char*>(nullptr));
    expectNeither(static_cast<char*>(nullptr));
    EXPECT_TRUE("abd" > s && s < "abd" && "ab" < s && s != "ab" && "\xe9" != s && s < "\xe9");
}

}  // namespace
