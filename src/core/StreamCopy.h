// The forms of the fast block copy: by multimedia registers and by vectors.
#pragma once

#include <cstddef>
#include <cstring>

#if defined(__SSE2__)

namespace streamcopy {

// Sizes are told apart by their number of 64-byte blocks.
inline constexpr std::size_t kBlock = 64;
inline constexpr std::size_t kStreamingBlocks = 1024;   ///< from here on past the cache
inline constexpr std::size_t kPrefetchedBlocks = 3152;  ///< from here on chunk by chunk

/// Copies by 64-bit multimedia registers, the way of 32-bit builds, and returns `to`. Expects
/// ranges that do not overlap.
void* copyByMultimediaRegisters(unsigned char* to, const unsigned char* from, std::size_t count);

/// Copies by streaming stores to several pages at a time and returns `to`. Expects ranges that do
/// not overlap and at least a block.
void* streamByVectors(unsigned char* to, const unsigned char* from, std::size_t count);

/// Copies as the runtime does below `kStreamingBlocks` and by streaming stores above, for which one
/// way is the fastest at all sizes: the way of 64-bit builds. Returns `to`; expects ranges that do
/// not overlap.
inline void* copyByVectors(unsigned char* to, const unsigned char* from, std::size_t count) {
    return count / kBlock < kStreamingBlocks ? std::memcpy(to, from, count)
                                             : streamByVectors(to, from, count);
}

}  // namespace streamcopy

#endif
