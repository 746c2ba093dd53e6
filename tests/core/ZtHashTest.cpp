// Hash values, buckets, probe steps and prime table sizes.
#include <gtest/gtest.h>
#include <ztlib/ZtHash.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

TEST(Hash, TextsAreTakenAsSignedCharacters) {
    struct Row {
        const char* text;
        int value;
    };
    for (const Row& row : {Row{"", 0}, Row{nullptr, 0}, Row{"ab", 971}, Row{"\xff", -1},
                           Row{"a\x80", 9 * 97 - 128}, Row{"\x01\x01\x01\x01\x01", 7381}})
        EXPECT_EQ(row.value, zt_hash(row.text)) << (row.text ? row.text : "null");
    std::string text(1000, 'z');
    unsigned wrapped = 0;
    for (char c : text)
        wrapped = 9 * wrapped + static_cast<unsigned>(c);
    EXPECT_EQ(static_cast<int>(wrapped), zt_hash(text.c_str()));
}

TEST(Hash, EveryIntegerTypeGivesItsLowBits) {
    EXPECT_EQ(5, zt_hash(0x100000005LL));
    EXPECT_EQ(5, zt_hash(std::uint64_t{0x100000005u}));
    EXPECT_EQ(-1, zt_hash(std::int64_t{-1}));
    EXPECT_EQ(-1, zt_hash(std::size_t{0xffffffffu}));
    EXPECT_EQ(-7, zt_hash(-7L));
    EXPECT_EQ(INT_MIN, zt_hash(0x80000000u));
    EXPECT_EQ(0, zt_hash(0));
    EXPECT_EQ(65, zt_hash('A'));
}

TEST(Hash, VectorsPackTheLowFiveBitsOfEachCoordinate) {
    EXPECT_EQ(34, zt_hash(ZtVec2i(33, 2)));
    EXPECT_EQ(1023, zt_hash(ZtVec2i(-1, -1)));
    EXPECT_EQ((3 << 10) | (31 << 5) | 4, zt_hash(ZtVec3i(35, 31, 100)));
    EXPECT_EQ((1 << 15) | (2 << 10) | (3 << 5) | 31, zt_hash(ZtVec4i(1, 2, 3, -33)));
    EXPECT_EQ(0x04030281, zt_hash(TrDeploy::MD5{{0x81, 2, 3, 4, 5}}));
    EXPECT_EQ(-1, zt_hash(TrDeploy::MD5{{0xff, 0xff, 0xff, 0xff}}));
}

TEST(Hash, BucketsAndStepsTruncateAndWrap) {
    EXPECT_EQ(-2, hash(-7, 99, 5));
    EXPECT_EQ(3, hash2(7, 5));
    EXPECT_EQ(5, hash2(10, 5));
    EXPECT_EQ((3 * 7 + 4) % 11, hash(ZtVec2i(3, 4), 7, 11));
    EXPECT_EQ(((3 * 7 + 4) % 11 * 7 + 5) % 11, hash(ZtVec3i(3, 4, 5), 7, 11));
    EXPECT_EQ(11 - (3 * 11 + 4) % 11, hash2(ZtVec2i(3, 4), 11));
    EXPECT_EQ(11 - ((3 * 11 + 4) % 11 * 11 + 5) % 11, hash2(ZtVec3i(3, 4, 5), 11));
    // 65537 * 65536 + 1 = 2^32 + 65537
    EXPECT_EQ(65537 % 1000, hash(ZtVec2i(65537, 1), 65536, 1000));
    // 2^15 * 2^16 = 2^31 wraps to a negative number
    EXPECT_EQ(INT_MIN % 1000, hash(ZtVec2i(32768, 0), 65536, 1000));
    for (int m : {0, -1}) {
        EXPECT_EQ(0, hash(INT_MIN, 1, m));
        EXPECT_EQ(0, hash(ZtVec3i(INT_MIN, INT_MIN, 7), INT_MIN, m));
        EXPECT_EQ(m, hash2(INT_MIN, m));
    }
}

TEST(Hash, PrimeSizesFollowTheSearch) {
    struct Row {
        int n, prime;
    };
    for (const Row& row :
         {Row{0, 1}, Row{1, 1}, Row{2, 3}, Row{3, 5}, Row{6, 11}, Row{9, 13}, Row{100, 137},
          Row{18, 29}, Row{-5, -5}, Row{-6, -7}, Row{37, 53}, Row{INT_MIN, INT_MIN + 1},
          Row{1610612735, INT_MAX}, Row{INT_MAX, INT_MAX}})
        EXPECT_EQ(row.prime, computePrime(row.n)) << row.n;
    const auto isPrime = [](int k) {
        for (int d = 2; d < k; ++d)
            if (k % d == 0)
                return false;
        return k > 1;
    };
    for (int n = 2; n < 2000; ++n) {
        int expected = (n + n / 3) | 1;
        while (!isPrime(expected))
            expected += 2;
        ASSERT_EQ(expected, computePrime(n)) << n;
    }
}

}  // namespace
