// Exchanging rows and columns of small dense blocks, which lie in the nearest caches.
#pragma once

#include <cstddef>

namespace rawdata {

/// Writes the `columns` x `rows` transpose of `rows` x `columns` elements of 1, 2, 4 or 8 bytes:
/// element (r, c) at `in + r * inStride + c * size` goes to `out + c * outStride + r * size`.
/// Strides are in bytes. The blocks must not overlap.
void transpose(unsigned char* out, std::ptrdiff_t outStride, const unsigned char* in,
               std::ptrdiff_t inStride, std::size_t rows, std::size_t columns, std::size_t size);

}  // namespace rawdata
