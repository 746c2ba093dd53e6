// The MD5 digest: published digests, lengths around the block, feeding in pieces.
#include "core/Md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace {

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
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
        {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
        {std::string(63, 'x'), "7dc2ca208106a2f703567bdff99d8981"},
        {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
        {std::string(65, 'x'), "1bc932052302d074bdec39795fe00cf6"},
        {std::string(120, 'x'), "fb98667f98096de92620b64f46e1c5b5"},
        {std::string(1000, 'x'), "398533d48111e9f664b1f64cb10c4b63"},
    };
    for (const auto& [text, digest] : rows)
        for (std::size_t step : {1u, 3u, 55u, 64u, 65u, 1000u})
            EXPECT_EQ(digest, digestOf(text, step)) << text.size() << " bytes by " << step;
}

}  // namespace
