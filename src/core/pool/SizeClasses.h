// The sizes that small blocks come in.
#pragma once

#include <array>
#include <bit>
#include <cstddef>

namespace pool {

/// Everything that the system gives is dealt with in pages of this size, aligned to it.
inline constexpr std::size_t kPageShift = 16;
inline constexpr std::size_t kPage = std::size_t{1} << kPageShift;

/// Blocks are aligned to this at least.
inline constexpr std::size_t kGranule = 16;

/// Classes are numbered from 1: eight in steps of a granule up to 128 bytes, then four for each
/// doubling.
inline constexpr unsigned kClasses = 40;
inline constexpr std::size_t kLargestSmall = 32768;

constexpr std::size_t sizeOfClass(unsigned index) {
    if (index <= 8)
        return index * kGranule;
    const unsigned doubling = (index - 9) / 4, quarter = (index - 9) % 4 + 1;
    return (std::size_t{128} << doubling) + (std::size_t{32} << doubling) * quarter;
}

// The class of a size above 128.
constexpr unsigned classByDoubling(std::size_t size) {
    const auto log = static_cast<unsigned>(std::bit_width(size - 1)) - 1;
    return 9 + 4 * (log - 7) + static_cast<unsigned>((size - 1) >> (log - 2) & 3);
}

/// Sizes up to here are looked up in a table, one entry for each granule.
inline constexpr std::size_t kTableSizes = 1024;
inline constexpr auto kClassOfGranules = [] {
    std::array<unsigned char, kTableSizes / kGranule + 1> classes{};
    for (std::size_t granules = 0; granules < classes.size(); ++granules) {
        const std::size_t size = granules * kGranule;
        classes[granules] = static_cast<unsigned char>(granules <= 8 ? (granules ? granules : 1)
                                                                     : classByDoubling(size));
    }
    return classes;
}();

/// The smallest class that holds `size` bytes, which expects size <= kLargestSmall; 0 bytes take
/// the smallest one.
constexpr unsigned classOfSize(std::size_t size) {
    return size <= kTableSizes ? kClassOfGranules[(size + kGranule - 1) / kGranule]
                               : classByDoubling(size);
}

/// Pages of a span of the class: enough that little is left over at its end.
constexpr std::size_t pagesOfClass(unsigned index) {
    return sizeOfClass(index) <= 8192 ? 1 : 4;
}

/// Blocks that a thread takes from, and gives back to, the others at a time.
constexpr unsigned magazineOfClass(unsigned index) {
    const std::size_t blocks = 32768 / sizeOfClass(index);
    return static_cast<unsigned>(blocks > 128 ? 128 : blocks < 2 ? 2 : blocks);
}

static_assert(sizeOfClass(kClasses) == kLargestSmall && classOfSize(kLargestSmall) == kClasses);
static_assert(classOfSize(1) == 1 && classOfSize(129) == 9 && classOfSize(1025) == 21);

}  // namespace pool
