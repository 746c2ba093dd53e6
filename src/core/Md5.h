// The MD5 message digest, fed piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>

/// Computes the MD5 digest (RFC 1321) of all bytes given to `update`. For finding equal contents;
/// it is no protection against forgery.
class Md5 {
public:
    static constexpr std::size_t kDigestSize = 16;

    void update(const void* bytes, std::size_t count);

    /// Writes the digest of what was given so far. The object is used up then.
    void finish(unsigned char digest[kDigestSize]);

private:
    static constexpr std::size_t kBlockSize = 64;

    void digestBlock(const unsigned char* block);

    std::uint32_t state_[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    std::uint64_t length_ = 0;
    unsigned char pending_[kBlockSize] = {};
};
