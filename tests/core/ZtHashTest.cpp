// Hash values, buckets, probe steps and prime table sizes.
#include <gtest/gtest.h>
#include <ztlib/ZtHash.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace {

TEST(Hash, TextsAreTakenAsSignedCharacters) {
    const std::pair<const char*, int> rows[] = {{"", 0},
                                                {nullptr, 0},
                                                {"ab", 971},
                                                {"\xff", -1},
                                                {"a\x80", 9 * 97 - 128},
                                                {"\x01\x01\x01\x01\x01", 7381}};
    for (const auto& [text, value] : rows)
        EXPECT_EQ(value, zt_hash(text)) << (text ? text : "null");
    unsigned wrapped = 0;
    for (int i = 0; i < 1000; ++i)
        wrapped = 9 * wrapped + 'z';
    EXPECT_EQ(static_cast<int>(wrapped), zt_hash(std::string(1000, 'z').c_str()));
}

TEST(Hash, NumbersGiveTheirLowBits) {
    EXPECT_EQ(10, zt_hash(0x100000005LL) + zt_hash(std::uint64_t{0x100000005u}));
    EXPECT_EQ(-2, zt_hash(std::int64_t{-1}) + zt_hash(std::size_t{0xffffffffu}));
    EXPECT_EQ(INT_MIN, zt_hash(0x80000000u));
    EXPECT_EQ(65 - 7, zt_hash('A') + zt_hash(-7L) + zt_hash(0));
    // Of each coordinate five.
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
    const int rows[][2] = {{0, 1},
                           {1, 1},
                           {-5, -5},
                           {-6, -7},
                           {INT_MIN, INT_MIN + 1},
                           {37, 53},
                           {9, 13},
                           {1610612735, INT_MAX},
                           {INT_MAX, INT_MAX}};
    for (const auto& [n, prime] : rows)
        EXPECT_EQ(prime, computePrime(n)) << n;
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
