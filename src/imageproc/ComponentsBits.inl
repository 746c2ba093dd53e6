// Kernels that turn elements into bits. Included by the portable and the wide unit, which define
// Ops; everything here has internal linkage.
#pragma once

namespace components {
namespace {

/// The words of a row of nx elements: bits of `predicate`, which reads 64 elements, for all of
/// them.
template <class T, class Predicate>
inline void findBits(const T* row, int nx, Word* bits, const Predicate& predicate) {
    const int wholeWords = nx / 64;
    for (int w = 0; w < wholeWords; ++w)
        bits[w] = predicate(row + 64 * w);
    const int rest = nx % 64;
    if (rest == 0)
        return;
    if (wholeWords > 0) {
        bits[wholeWords] = predicate(row + nx - 64) >> (64 - rest);
        return;
    }
    T padded[64] = {};
    std::memcpy(padded, row, static_cast<std::size_t>(rest) * sizeof(T));
    bits[0] = predicate(padded) & ~(~Word{0} << rest);
}

/// How many rows lie before a slice.
inline std::ptrdiff_t rowsBefore(const Grid& grid, int z) {
    return static_cast<std::ptrdiff_t>(grid.ny) * z;
}

template <class T>
void thresholdElements(const Request& request, const Grid& grid, Slab slab, Word* bits,
                       Word* marks) {
    const std::ptrdiff_t first = rowsBefore(grid, slab.begin);
    const T* row = static_cast<const T*>(request.data) + first * grid.nx;
    bits += first * grid.words;
    if (marks)
        marks += first * grid.words;
    const T lower = static_cast<T>(request.lower);
    const T upper = static_cast<T>(request.upper);
    const std::ptrdiff_t rows = rowsBefore(grid, slab.end) - first;
    for (std::ptrdiff_t r = 0; r < rows; ++r, row += grid.nx, bits += grid.words) {
        findBits(row, grid.nx, bits, [lower](const T* p) { return Ops::atLeast(p, lower); });
        if (!marks)
            continue;
        findBits(row, grid.nx, marks, [upper](const T* p) { return Ops::atLeast(p, upper); });
        for (int w = 0; w < grid.words; ++w)
            marks[w] &= bits[w];
        marks += grid.words;
    }
}

void threshold(const Request& request, const Grid& grid, Slab slab, Word* bits, Word* marks) {
    switch (request.element) {
        case Element::kByte:
            return thresholdElements<std::uint8_t>(request, grid, slab, bits, marks);
        case Element::kShort:
            return thresholdElements<std::int16_t>(request, grid, slab, bits, marks);
        case Element::kInt:
            return thresholdElements<std::int32_t>(request, grid, slab, bits, marks);
        case Element::kFloat:
            return thresholdElements<float>(request, grid, slab, bits, marks);
        case Element::kDouble:
            return thresholdElements<double>(request, grid, slab, bits, marks);
        case Element::kUshort:
            return thresholdElements<std::uint16_t>(request, grid, slab, bits, marks);
    }
}

void findStarts(const unsigned char* field, const Grid& grid, Slab slab, Word* starts) {
    const std::ptrdiff_t first = rowsBefore(grid, slab.begin);
    const std::ptrdiff_t rows = rowsBefore(grid, slab.end) - first;
    field += first * grid.nx;
    starts += first * grid.words;
    for (std::ptrdiff_t r = 0; r < rows; ++r, field += grid.nx, starts += grid.words) {
        starts[0] = 1;
        for (int w = 1; w < grid.words; ++w)
            starts[w] = 0;
        // Voxel x + 1 against voxel x: bit x of `changes` is the start at x + 1.
        for (int w = 0; w < grid.words; ++w) {
            const int x = 64 * w;
            const int count = grid.nx - 1 - x < 64 ? grid.nx - 1 - x : 64;
            if (count == 0)
                break;
            const Word changes = Ops::unequal(field + x + 1, field + x, count, x);
            starts[w] |= changes << 1;
            if (w + 1 < grid.words)
                starts[w + 1] = changes >> 63;
        }
    }
}

std::uint64_t countRuns(const Volume& volume, Slab slab) {
    const Grid& grid = volume.grid;
    const int rowsY = volume.grouping == Grouping::kRows ? 1 : 2;
    const int rowsZ = volume.grouping == Grouping::kBlocks ? 2 : 1;
    const std::ptrdiff_t sliceWords = static_cast<std::ptrdiff_t>(grid.ny) * grid.words;
    std::uint64_t count = 0;
    for (int z = slab.begin; z < slab.end; z += rowsZ) {
        for (int y = 0; y < grid.ny; y += rowsY) {
            const Word* const first =
                volume.bits + z * sliceWords + static_cast<std::ptrdiff_t>(y) * grid.words;
            const Word* const second = rowsY == 2 && y + 1 < grid.ny ? first + grid.words : first;
            const std::ptrdiff_t next = rowsZ == 2 && z + 1 < grid.nz ? sliceWords : 0;
            Word carry = 0;
            for (int w = 0; w < grid.words; ++w) {
                const Word any = first[w] | second[w] | first[w + next] | second[w + next];
                count += static_cast<std::uint64_t>(
                    Ops::count(volume.field ? any : any & ~(any << 1 | carry)));
                carry = any >> 63;
            }
        }
    }
    return count;
}

}  // namespace
}  // namespace components
