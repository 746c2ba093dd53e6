// The block copy by vectors: the runtime's copy within the cache, streaming stores beyond it.
#include "core/StreamCopy.h"

#if defined(__SSE2__)

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace streamcopy {

namespace {

// One streaming store needs an aligned destination; whole lines spare the memory half a write each.
std::size_t bytesUpToLine(const unsigned char* to) {
    return (kBlock - reinterpret_cast<std::uintptr_t>(to) % kBlock) % kBlock;
}

// Blocks are fetched this far ahead: within a page when several pages are copied side by side,
// where each goes on for long, and farther when only one is.
constexpr std::size_t kDistanceInPage = 512;
constexpr std::size_t kDistanceInRow = 2048;

// Several pages at a time keep more of the memory's banks busy than one after the other.
constexpr std::size_t kPage = 4096;
constexpr std::size_t kPagesAtATime = 4;
constexpr std::size_t kGroup = kPagesAtATime * kPage;

template <std::size_t Distance>
void streamBlock(unsigned char* to, const unsigned char* from) {
    // A hint; it may reach beyond the source, and into nothing, without harm.
    const auto ahead = reinterpret_cast<std::uintptr_t>(from) + Distance;
    _mm_prefetch(reinterpret_cast<const char*>(ahead), _MM_HINT_T0);
    const auto source = reinterpret_cast<const __m128i*>(from);
    const auto target = reinterpret_cast<__m128i*>(to);
    const __m128i a = _mm_loadu_si128(source), b = _mm_loadu_si128(source + 1);
    const __m128i c = _mm_loadu_si128(source + 2), d = _mm_loadu_si128(source + 3);
    _mm_stream_si128(target, a);
    _mm_stream_si128(target + 1, b);
    _mm_stream_si128(target + 2, c);
    _mm_stream_si128(target + 3, d);
}

void streamGroup(unsigned char* to, const unsigned char* from) {
    for (std::size_t offset = 0; offset < kPage; offset += kBlock)
        for (std::size_t page = 0; page < kGroup; page += kPage)
            streamBlock<kDistanceInPage>(to + page + offset, from + page + offset);
}

// Copies whole blocks to a destination that starts a line.
void streamBlocks(unsigned char* to, const unsigned char* from, std::size_t blocks) {
    std::size_t left = blocks * kBlock;
    for (; left >= kGroup; left -= kGroup, to += kGroup, from += kGroup)
        streamGroup(to, from);
    for (; left > 0; left -= kBlock, to += kBlock, from += kBlock)
        streamBlock<kDistanceInRow>(to, from);
}

}  // namespace

void* streamByVectors(unsigned char* to, const unsigned char* from, std::size_t count) {
    const std::size_t head = bytesUpToLine(to);
    std::memcpy(to, from, head);
    const std::size_t blocks = (count - head) / kBlock;
    streamBlocks(to + head, from + head, blocks);
    const std::size_t done = head + blocks * kBlock;
    std::memcpy(to + done, from + done, count - done);
    _mm_sfence();
    return to;
}

}  // namespace streamcopy

#endif
