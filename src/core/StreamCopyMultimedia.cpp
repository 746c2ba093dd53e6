// The block copy by 64-bit multimedia registers, in three ways by size.
#include "core/StreamCopy.h"

#if defined(__SSE2__)

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace streamcopy {

namespace {

constexpr std::size_t kUnalignedFrom = 32768;  // above it and up to
constexpr std::size_t kUnalignedTo = 65536;    // here the destination is taken as it is
constexpr std::size_t kPrefetchDistance = 568;
constexpr std::size_t kChunkBlocks = 128;
constexpr std::size_t kTailWord = 4;

// Registers are read and written through these, so that no access needs an alignment.
__m64 load(const unsigned char* from) {
    __m64 value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

void store(unsigned char* to, __m64 value) {
    std::memcpy(to, &value, sizeof value);
}

void stream(unsigned char* to, __m64 value) {
    _mm_stream_pi(reinterpret_cast<__m64*>(to), value);
}

template <void (*Put)(unsigned char*, __m64)>
void copyBlock(unsigned char* to, const unsigned char* from) {
    const __m64 a = load(from), b = load(from + 8), c = load(from + 16), d = load(from + 24);
    const __m64 e = load(from + 32), f = load(from + 40), g = load(from + 48), h = load(from + 56);
    Put(to, a), Put(to + 8, b), Put(to + 16, c), Put(to + 24, d);
    Put(to + 32, e), Put(to + 40, f), Put(to + 48, g), Put(to + 56, h);
}

template <void (*Put)(unsigned char*, __m64)>
void copyBlocks(unsigned char* to, const unsigned char* from, std::size_t blocks) {
    for (std::size_t i = 0; i < blocks; ++i, to += kBlock, from += kBlock) {
        // A hint; it may reach beyond the source, and into nothing, without harm.
        const auto ahead = reinterpret_cast<std::uintptr_t>(from) + kPrefetchDistance;
        _mm_prefetch(reinterpret_cast<const char*>(ahead), _MM_HINT_NTA);
        copyBlock<Put>(to, from);
    }
}

// Pulls a chunk into the cache, from its end to its start, by one read for each block.
void touch(const unsigned char* chunk) {
    for (std::size_t block = kChunkBlocks; block-- > 0;)
        static_cast<void>(*static_cast<const volatile unsigned char*>(chunk + block * kBlock));
}

void copyInChunks(unsigned char* to, const unsigned char* from, std::size_t blocks) {
    for (; blocks >= kChunkBlocks; blocks -= kChunkBlocks) {
        touch(from);
        for (std::size_t i = 0; i < kChunkBlocks; ++i, to += kBlock, from += kBlock)
            copyBlock<stream>(to, from);
    }
    copyBlocks<stream>(to, from, blocks);
}

void copyTail(unsigned char* to, const unsigned char* from, std::size_t count) {
    for (; count >= kTailWord; count -= kTailWord, to += kTailWord, from += kTailWord)
        std::memcpy(to, from, kTailWord);
    while (count-- > 0)
        *to++ = *from++;
}

}  // namespace

void* copyByMultimediaRegisters(unsigned char* to, const unsigned char* from, std::size_t count) {
    void* const destination = to;
    if (count >= kBlock) {
        if (count <= kUnalignedFrom || count > kUnalignedTo)
            for (; reinterpret_cast<std::uintptr_t>(to) % 8 != 0; --count)
                *to++ = *from++;
        const std::size_t blocks = count / kBlock;
        if (blocks < kStreamingBlocks)
            copyBlocks<store>(to, from, blocks);
        else if (blocks < kPrefetchedBlocks)
            copyBlocks<stream>(to, from, blocks);
        else
            copyInChunks(to, from, blocks);
        to += blocks * kBlock;
        from += blocks * kBlock;
        count %= kBlock;
    }
    copyTail(to, from, count);
    _mm_empty();
    _mm_sfence();
    return destination;
}

}  // namespace streamcopy

#endif
