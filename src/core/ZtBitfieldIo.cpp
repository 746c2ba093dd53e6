// Bit fields to and from labels, files, texts and digests.
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtContract.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "core/LittleEndian.h"
#include "core/Md5.h"
#include "platform/PlatformFile.h"

namespace {

constexpr unsigned kWordBits = 32;
constexpr unsigned kWordBytes = 4;

// Bit i of the result tells whether labels[i] equals the byte of which `pattern` consists, for
// eight labels: bytes that are zero after the exclusive or, gathered by a multiplication.
unsigned matchEight(const unsigned char* labels, std::uint64_t pattern) {
    constexpr std::uint64_t kLow = 0x7f7f7f7f7f7f7f7fu;
    const std::uint64_t rest = littleendian::load64(labels) ^ pattern;
    const std::uint64_t equal = ~(((rest & kLow) + kLow) | rest | kLow) >> 7;
    return static_cast<unsigned>(equal * 0x0102040810204080u >> 56);
}

// The same for up to 32 labels.
unsigned matchLabels(const unsigned char* labels, unsigned count, unsigned char value) {
    const std::uint64_t pattern = value * std::uint64_t{0x0101010101010101u};
    unsigned bits = 0;
    unsigned i = 0;
    for (; i + 8 <= count; i += 8)
        bits |= matchEight(labels + i, pattern) << i;
    for (; i < count; ++i)
        bits |= static_cast<unsigned>(labels[i] == value) << i;
    return bits;
}

// Clears the whole groups of four bits, of `count` bits, that are all set.
unsigned withoutFullFours(unsigned bits, unsigned count) {
    unsigned full = bits & bits >> 1;
    full &= full >> 2 & 0x11111111u;
    const unsigned inFours = count / 4 * 4;
    const unsigned mask = inFours < kWordBits ? (1u << inFours) - 1 : ~0u;
    return bits & ~(full * 15 & mask);
}

void insertAlways(unsigned bits, unsigned count, unsigned char* labels, unsigned char value) {
    if (bits == ~0u) {
        std::memset(labels, value, count);
        return;
    }
    for (unsigned i = 0; i < count; ++i)
        labels[i] = bits >> i & 1u ? value : labels[i];
}

void insertWhereEmpty(unsigned bits, unsigned count, unsigned char* labels, unsigned char value) {
    for (unsigned i = 0; i < count; ++i)
        labels[i] = (bits >> i & 1u) && labels[i] == 0 ? value : labels[i];
}

void insertExactly(unsigned bits, unsigned count, unsigned char* labels, unsigned char value) {
    for (unsigned i = 0; i < count; ++i) {
        const unsigned char cleared = labels[i] == value ? 0 : labels[i];
        labels[i] = bits >> i & 1u ? value : cleared;
    }
}

// Bytes that hold `bits` bits; written so that no sum can wrap.
std::size_t bytesFor(unsigned bits) {
    return bits / 8 + (bits % 8 != 0 ? 1 : 0);
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

using Piece = unsigned char[4096];

// Calls `take(bytes, count)` for the first `left` bytes of the words, piece by piece, as long as it
// returns true. Returns whether it always did.
template <class Take>
bool inPieces(const unsigned* words, std::size_t left, Take take) {
    Piece piece;
    while (left > 0) {
        const std::size_t count = std::min(left, sizeof piece);
        for (std::size_t i = 0; i < count; i += kWordBytes)
            littleendian::store32(*words++, piece + i);
        if (!take(piece, count))
            return false;
        left -= count;
    }
    return true;
}

}  // namespace

void ZtBitfield::fromLabels(unsigned n, const unsigned char* labels, unsigned char value) {
    ZT_REQUIRE(labels || n == 0);
    resize(n);
    clearAll();
    if (!labels)
        return;
    for (unsigned word = 0; word <= n / kWordBits; ++word) {
        const unsigned count = std::min(n - word * kWordBits, kWordBits);
        const unsigned bits = matchLabels(labels + std::size_t{word} * kWordBits, count, value);
        words_[word] = value == 0 ? withoutFullFours(bits, count) : bits;
    }
}

void ZtBitfield::toLabels(unsigned n, unsigned char* labels, unsigned char value,
                          int policy) const {
    ZT_REQUIRE(labels || n == 0);
    if (!labels)
        return;
    for (unsigned word = 0; word <= n / kWordBits; ++word) {
        const unsigned bits = bitsOfWord(word);
        const unsigned count = std::min(n - word * kWordBits, kWordBits);
        unsigned char* const some = labels + std::size_t{word} * kWordBits;
        if (policy == INSERT_EXACTLY)
            insertExactly(bits, count, some, value);
        else if (bits != 0 && policy == INSERT_WHERE_EMPTY)
            insertWhereEmpty(bits, count, some, value);
        else if (bits != 0)
            insertAlways(bits, count, some, value);
    }
}

bool ZtBitfield::save(const char* filename) const {
    File file(platform::openFile(filename, "wb"));
    if (!file)
        return false;
    const auto write = [&file](const unsigned char* bytes, std::size_t count) {
        return std::fwrite(bytes, 1, count, file.get()) == count;
    };
    if (!inPieces(words_, bytesFor(nBits_), write))
        return false;
    // Only now is it told whether the last bytes found room on the disk, on some systems by the
    // flush, on others by closing.
    return std::fflush(file.get()) == 0 && std::fclose(file.release()) == 0;
}

bool ZtBitfield::load(const char* filename, unsigned n) {
    resize(n);
    const File file(platform::openFile(filename, "rb"));
    if (!file)
        return false;
    unsigned* word = words_;
    std::size_t left = bytesFor(n);
    while (left > 0) {
        Piece piece;
        const std::size_t wanted = std::min(left, sizeof piece);
        const std::size_t count = std::fread(piece, 1, wanted, file.get());
        std::size_t i = 0;
        for (; i + kWordBytes <= count; i += kWordBytes)
            *word++ = littleendian::load32(piece + i);
        for (unsigned shift = 0; i < count; ++i, shift += 8)
            *word = (*word & ~(0xffu << shift)) | static_cast<unsigned>(piece[i]) << shift;
        if (count != wanted)
            return false;
        left -= count;
    }
    return true;
}

void ZtBitfield::print(ZtString& string) const {
    if (nBits_ >= INT_MAX)
        ztThrowMemoryException(nBits_);
    string.resize(static_cast<int>(nBits_) + 1);
    char* const text = string.dataPtr();
    for (unsigned i = 0; i < nBits_; ++i)
        text[i] = static_cast<char>('0' + (*this)[i]);
    text[nBits_] = '\0';
}

void ZtBitfield::md5(unsigned char digest[16]) const {
    Md5 md5;
    inPieces(words_, nFullWords(), [&md5](const unsigned char* bytes, std::size_t count) {
        md5.update(bytes, count);
        return true;
    });
    if (nBits_ > 0) {
        unsigned char bytes[kWordBytes];
        littleendian::store32(lastBits(), bytes);
        md5.update(bytes, sizeof bytes);
    }
    md5.finish(digest);
}

void ZtBitfield::md5(ZtString& string) const {
    unsigned char digest[Md5::kDigestSize];
    md5(digest);
    char text[2 * sizeof digest + 1] = {};
    for (std::size_t i = 0; i < sizeof digest; ++i) {
        text[2 * i] = "0123456789abcdef"[digest[i] >> 4];
        text[2 * i + 1] = "0123456789abcdef"[digest[i] & 15];
    }
    string = text;
}
