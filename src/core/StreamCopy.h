// The forms of the fast block copy: by multimedia registers and by vectors.
#pragma once

#include <cstddef>

#if defined(__SSE2__)

namespace streamcopy {

// Sizes are told apart by their number of 64-byte blocks.
inline constexpr std::size_t kBlock = 64;
inline constexpr std::size_t kStreamingBlocks = 1024;   ///< from here on past the cache
inline constexpr std::size_t kPrefetchedBlocks = 3152;  ///< from here on chunk by chunk

/// Copies by 64-bit multimedia registers, the way of 32-bit builds. Expects ranges that do not
/// overlap.
void copyByMultimediaRegisters(unsigned char* to, const unsigned char* from, std::size_t count);

/// Copies by vectors, the way of 64-bit builds: as the runtime does below `kStreamingBlocks`, by
/// streaming stores to several pages at a time above, for which one way is the fastest at all
/// sizes. Expects ranges that do not overlap.
void copyByVectors(unsigned char* to, const unsigned char* from, std::size_t count);

}  // namespace streamcopy

#endif
