// Which span a page belongs to, and of what kind it is.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "core/pool/SizeClasses.h"
#include "core/pool/Span.h"

namespace pool {

/// What the map holds of a page: the span's address with a kind in its low bits, or 0. Knowing the
/// kind without a look at the span is what makes freeing quick: entries of neighbouring pages share
/// a cache line, the heads of pages or spans would each take one of their own.
using PageEntry = std::uintptr_t;

/// Kinds: the class of small blocks of the default pool, or of another pool; one block; free pages
/// (only the first and the last of a row are entered).
inline constexpr PageEntry kKindMask = 127;
inline constexpr PageEntry kOtherPool = 64;
inline constexpr PageEntry kOneBlock = 62;
inline constexpr PageEntry kFreePages = 63;
static_assert(kClasses < kOneBlock && alignof(Span) > kKindMask);

inline Span* spanOf(PageEntry entry) {
    return reinterpret_cast<Span*>(entry & ~kKindMask);
}

/// The map of all pages of all pools: one row of entries with 32-bit addresses; with 64-bit ones a
/// row for each 4 GiB in which a pool ever had pages.
namespace pagemap {

inline constexpr std::size_t kRowShift = 16;
inline constexpr std::size_t kRowEntries = std::size_t{1} << kRowShift;
inline constexpr bool kHasRows = sizeof(void*) > 4;
inline constexpr std::size_t kRows = kHasRows ? std::size_t{1} << 16 : 1;

using Row = std::atomic<PageEntry>[kRowEntries];
extern std::atomic<Row*> rows[kRows];

inline std::uint64_t pageNumber(const void* address) {
    return std::uint64_t{reinterpret_cast<std::uintptr_t>(address)} >> kPageShift;
}

/// The entry of the page of any address, null included.
inline PageEntry find(const void* address) {
    const std::uint64_t page = pageNumber(address);
    const Row* const row = rows[page >> kRowShift & (kRows - 1)].load(std::memory_order_acquire);
    return __builtin_expect(row != nullptr, true)
               ? (*row)[page & (kRowEntries - 1)].load(std::memory_order_relaxed)
               : 0;
}

/// Makes room for the entries of pages that come from the system; false when memory is exhausted.
bool prepare(const void* start, std::size_t bytes);

/// Enters the pages, which expects that room was made.
void set(const void* start, std::size_t bytes, PageEntry entry);

/// Makes the entries of a fork's child usable; the map is locked while a process forks.
void lock();
void unlock();

}  // namespace pagemap

}  // namespace pool
