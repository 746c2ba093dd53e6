// Transposition by vectors of 16 bytes. Interleaving the first half of n rows with the second half
// is a perfect shuffle of their elements; log2(n) of them exchange the row and the column number.
#include "typeddata/Transpose.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace rawdata {
namespace {

template <class T>
using Vector __attribute__((vector_size(16))) = T;

template <class T>
constexpr std::size_t kLanes = 16 / sizeof(T);

/// The elements of `a` and `b` from `first` on in turn: a[first], b[first], a[first + 1], ...
template <std::size_t first, class T, std::size_t... i>
inline void interleave(const Vector<T>& a, const Vector<T>& b, Vector<T>& out,
                       std::index_sequence<i...>) {
    out = __builtin_shufflevector(a, b, static_cast<int>(first + i / 2 + i % 2 * kLanes<T>)...);
}

/// A square block, as many rows as a vector has elements.
template <class T>
void transposeSquare(unsigned char* out, std::ptrdiff_t outStride, const unsigned char* in,
                     std::ptrdiff_t inStride) {
    constexpr std::size_t n = kLanes<T>;
    constexpr auto all = std::make_index_sequence<n>();
    Vector<T> rows[n];
    for (std::size_t i = 0; i < n; ++i)
        std::memcpy(&rows[i], in + static_cast<std::ptrdiff_t>(i) * inStride, sizeof rows[i]);
    for (std::size_t round = 1; round < n; round *= 2) {
        Vector<T> shuffled[n];
        for (std::size_t i = 0; i < n / 2; ++i) {
            interleave<0, T>(rows[i], rows[i + n / 2], shuffled[2 * i], all);
            interleave<n / 2, T>(rows[i], rows[i + n / 2], shuffled[2 * i + 1], all);
        }
        std::memcpy(rows, shuffled, sizeof rows);
    }
    for (std::size_t i = 0; i < n; ++i)
        std::memcpy(out + static_cast<std::ptrdiff_t>(i) * outStride, &rows[i], sizeof rows[i]);
}

template <class T>
void transposeElements(unsigned char* out, std::ptrdiff_t outStride, const unsigned char* in,
                       std::ptrdiff_t inStride, std::size_t rows, std::size_t columns) {
    constexpr std::size_t n = kLanes<T>;
    const auto at = [](std::size_t i, std::ptrdiff_t stride, std::size_t k) {
        return static_cast<std::ptrdiff_t>(i) * stride + static_cast<std::ptrdiff_t>(k * sizeof(T));
    };
    const auto oneByOne = [&](std::size_t r, std::size_t c) {
        std::memcpy(out + at(c, outStride, r), in + at(r, inStride, c), sizeof(T));
    };
    std::size_t c = 0;
    for (; c + n <= columns; c += n) {
        std::size_t r = 0;
        // Sixteen rows a power of two apart would displace each other in the nearest cache before
        // their lines are full, which are therefore made beside them.
        if constexpr (n > 8)
            for (; r + 64 / sizeof(T) <= rows; r += 64 / sizeof(T)) {
                alignas(64) unsigned char lines[n][64];
                for (std::size_t i = 0; i < 64 / sizeof(T); i += n)
                    transposeSquare<T>(lines[0] + i * sizeof(T), 64, in + at(r + i, inStride, c),
                                       inStride);
                for (std::size_t i = 0; i < n; ++i)
                    std::memcpy(out + at(c + i, outStride, r), lines[i], sizeof lines[i]);
            }
        for (; r + n <= rows; r += n)
            transposeSquare<T>(out + at(c, outStride, r), outStride, in + at(r, inStride, c),
                               inStride);
        for (; r < rows; ++r)
            for (std::size_t k = c; k < c + n; ++k)
                oneByOne(r, k);
    }
    for (; c < columns; ++c)
        for (std::size_t r = 0; r < rows; ++r)
            oneByOne(r, c);
}

}  // namespace

void transpose(unsigned char* out, std::ptrdiff_t outStride, const unsigned char* in,
               std::ptrdiff_t inStride, std::size_t rows, std::size_t columns, std::size_t size) {
    if (size == 1)
        transposeElements<std::uint8_t>(out, outStride, in, inStride, rows, columns);
    else if (size == 2)
        transposeElements<std::uint16_t>(out, outStride, in, inStride, rows, columns);
    else if (size == 4)
        transposeElements<std::uint32_t>(out, outStride, in, inStride, rows, columns);
    else
        transposeElements<std::uint64_t>(out, outStride, in, inStride, rows, columns);
}

}  // namespace rawdata
