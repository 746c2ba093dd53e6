// The map of pages.
#include "core/pool/PageMap.h"

#include "core/pool/Lock.h"
#include "core/pool/SystemPages.h"

namespace pool::pagemap {

constinit std::atomic<Row*> rows[kRows] = {};

namespace {

constinit Lock rowsLock;

bool makeRow(std::size_t index) {
    const Locked locked(rowsLock);
    if (rows[index].load(std::memory_order_relaxed))
        return true;
    // Zeros, and only those of its pages are ever touched whose entries are set.
    void* const row = reserveCommitted(sizeof(Row), kPage);
    rows[index].store(static_cast<Row*>(row), std::memory_order_release);
    return row != nullptr;
}

}  // namespace

bool prepare(const void* start, std::size_t bytes) {
    const std::uint64_t last = pageNumber(static_cast<const char*>(start) + bytes - 1) >> kRowShift;
    // Addresses beyond 48 bits have no place in the map; no system gives them unasked.
    if (last >= kRows)
        return false;
    for (std::uint64_t row = pageNumber(start) >> kRowShift; row <= last; ++row) {
        const auto index = static_cast<std::size_t>(row);
        if (!rows[index].load(std::memory_order_acquire) && !makeRow(index))
            return false;
    }
    return true;
}

void set(const void* start, std::size_t bytes, PageEntry entry) {
    const std::uint64_t first = pageNumber(start);
    for (std::uint64_t page = first; page < first + (bytes >> kPageShift); ++page) {
        Row& row = *rows[page >> kRowShift & (kRows - 1)].load(std::memory_order_relaxed);
        row[page & (kRowEntries - 1)].store(entry, std::memory_order_relaxed);
    }
}

void lock() {
    rowsLock.lock();
}

void unlock() {
    rowsLock.unlock();
}

}  // namespace pool::pagemap
