// Address space and pages straight from the system, for allocators.
#pragma once

#include <cstddef>

namespace platform {

/// Reservations are multiples of this and aligned to it.
inline constexpr std::size_t kReserveUnit = std::size_t{64} << 10;

/// Reserves address space, aligned to a power of two of at least `kReserveUnit`; null when there is
/// none. Its pages read as zeros once they are committed, and must not be touched before.
void* reservePages(std::size_t size, std::size_t alignment);

/// Makes reserved pages usable, those that are so already included; false when memory is exhausted.
bool commitPages(void* start, std::size_t size);

/// Gives the memory of committed pages back and keeps their address space.
void decommitPages(void* start, std::size_t size);

/// Gives up a reservation, with what is committed of it.
void releasePages(void* start, std::size_t size);

/// Makes a reservation whose pages are all committed longer where it is, and commits what is new;
/// false where that cannot be done.
bool extendPages(void* start, std::size_t oldSize, std::size_t newSize);

/// Moves the pages of such a reservation, without copying them, to the start of another that is
/// longer, and commits the rest of that; the old one is then gone. False, with everything as it
/// was, where that cannot be done.
bool movePages(void* from, std::size_t oldSize, void* to, std::size_t newSize);

}  // namespace platform
