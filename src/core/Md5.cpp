// MD5 as RFC 1321 describes it.
#include "core/Md5.h"

#include <algorithm>
#include <cstring>

#include "core/LittleEndian.h"

namespace {

// floor(2^32 |sin(i + 1)|)
constexpr std::uint32_t kSine[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

constexpr int kShift[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

std::uint32_t rotateLeft(std::uint32_t value, int count) {
    return value << count | value >> (32 - count);
}

// The mixing function of a round and the word of the block that its step takes.
std::uint32_t mix(int round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    switch (round) {
        case 0:
            return (b & c) | (~b & d);
        case 1:
            return (b & d) | (c & ~d);
        case 2:
            return b ^ c ^ d;
        default:
            return c ^ (b | ~d);
    }
}

int wordOf(int round, int step) {
    constexpr int kFactor[4] = {1, 5, 3, 7};
    constexpr int kOffset[4] = {0, 1, 5, 0};
    return (kFactor[round] * step + kOffset[round]) % 16;
}

}  // namespace

void Md5::digestBlock(const unsigned char* block) {
    std::uint32_t words[16];
    for (int i = 0; i < 16; ++i)
        words[i] = littleendian::load32(block + 4 * i);

    auto [a, b, c, d] = state_;
    for (int step = 0; step < 64; ++step) {
        const int round = step / 16;
        const std::uint32_t sum =
            a + mix(round, b, c, d) + kSine[step] + words[wordOf(round, step)];
        a = d;
        d = c;
        c = b;
        b += rotateLeft(sum, kShift[round][step % 4]);
    }
    state_[0] += a;
    state_[1] += b;
    state_[2] += c;
    state_[3] += d;
}

void Md5::update(const void* bytes, std::size_t count) {
    if (count == 0)  // the address may be null then
        return;
    const auto* from = static_cast<const unsigned char*>(bytes);
    const auto held = static_cast<std::size_t>(length_ % kBlockSize);
    length_ += count;
    if (held > 0) {
        const std::size_t taken = std::min(count, kBlockSize - held);
        std::memcpy(pending_ + held, from, taken);
        if (held + taken < kBlockSize)
            return;
        digestBlock(pending_);
        from += taken;
        count -= taken;
    }
    for (; count >= kBlockSize; from += kBlockSize, count -= kBlockSize)
        digestBlock(from);
    if (count > 0)
        std::memcpy(pending_, from, count);
}

void Md5::finish(unsigned char digest[kDigestSize]) {
    constexpr std::size_t kLengthSize = 8;
    constexpr unsigned char kPadding[kBlockSize] = {0x80};
    unsigned char length[kLengthSize];
    littleendian::store64(length_ * 8, length);

    // One bit, then zeros up to the last eight bytes of a block, which hold the length in bits.
    const auto held = static_cast<std::size_t>(length_ % kBlockSize);
    const std::size_t room = (held < kBlockSize - kLengthSize ? 1u : 2u) * kBlockSize - held;
    update(kPadding, room - kLengthSize);
    update(length, kLengthSize);
    for (int i = 0; i < 4; ++i)
        littleendian::store32(state_[i], digest + 4 * i);
}
