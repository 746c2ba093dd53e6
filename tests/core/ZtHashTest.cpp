// Hash values, buckets, probe steps and prime table sizes; the MD5 digest.
#include <gtest/gtest.h>
#include <ztlib/ZtHash.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "core/Md5.h"

namespace {

TEST(Hash, TextsAreTakenAsSignedCharacters) {
    const std::pair<const char*, int> rows[] = {{"", 0},
                                                {nullptr, 0},
                                                {"ab", 971},
                                                {"\xff", -1},
                                                {"a\x80", 9 * 97 - 128},
                                                {"zzzzzzzzzzz", 1819789166}};
    for (const auto& [text, value] : rows)
        EXPECT_EQ(value, zt_hash(text)) << (text ? text : "null");
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
    EXPECT_EQ(((3 * 7 + 4) % 11 * 7 + 5) % 11, hash(ZtVec3i(3, 4, 5), 7, 11));
    EXPECT_EQ(7, hash2(ZtVec2i(3, 4), 11));
    EXPECT_EQ(11 - ((3 * 11 + 4) % 11 * 11 + 5) % 11, hash2(ZtVec3i(3, 4, 5), 11));
    // 65537 * 65536 + 1 = 2^32 + 65537
    EXPECT_EQ(65537 % 1000, hash(ZtVec2i(65537, 1), 65536, 1000));
    EXPECT_EQ(INT_MIN % 1000, hash(ZtVec2i(32768, 0), 65536, 1000));
    for (int m : {0, -1}) {
        EXPECT_EQ(0, hash(INT_MIN, 1, m));
        EXPECT_EQ(0, hash(ZtVec3i(INT_MIN, INT_MIN, 7), INT_MIN, m));
        EXPECT_EQ(m, hash2(INT_MIN, m));
    }
}

TEST(Hash, PrimeSizesFollowTheSearch) {
    const std::pair<int, int> rows[] = {{2, 3},

                                        {-6, -7},
                                        {19, 29},
                                        {37, 53},

                                        {INT_MIN, INT_MIN + 1},
                                        {1610612735, INT_MAX},
                                        {INT_MAX, INT_MAX}};
    for (const auto& [n, prime] : rows)
        EXPECT_EQ(prime, computePrime(n)) << n;
}

// The digest of a text that is fed in pieces of `step` characters.
std::string digestOf(const std::string& text, std::size_t step) {
    Md5 md5;
    for (std::size_t at = 0; at < text.size(); at += step)
        md5.update(text.data() + at, std::min(step, text.size() - at));
    unsigned char digest[Md5::kDigestSize];
    md5.finish(digest);
    std::string digits;
    for (const unsigned char byte : digest)
        for (const int digit : {byte >> 4, byte & 15})
            digits += "0123456789abcdef"[digit];
    return digits;
}

TEST(Md5, AgreesWithPublishedDigestsHoweverItIsFed) {
    // The first rows are those of RFC 1321; the runs of 'x' end around the 56 and 64 bytes where
    // the padding takes a further block.
    const std::pair<std::string, const char*> rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
        {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
        {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
        {std::string(120, 'x'), "fb98667f98096de92620b64f46e1c5b5"},
        {std::string(1000, 'x'), "398533d48111e9f664b1f64cb10c4b63"},
    };
    for (const auto& [text, digest] : rows)
        for (std::size_t step : {1u, 3u, 55u, 64u, 65u, 1000u})
            EXPECT_EQ(digest, digestOf(text, step)) << text.size() << " bytes by " << step;
}

}  // namespace
