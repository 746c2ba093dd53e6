// The text of the kernels. A unit that includes it has said how wide its vectors are, kVectorBytes,
// how many rows of a product it works on at once, kTileRows, and how the first elements of a vector
// are loaded, loadFirst. Everything has internal linkage.

namespace numerics {
namespace {

/// A vector of `Bytes` bytes, or a plain number, and what it is in memory, at any element's place.
template <class T, int Bytes>
struct LanesOf {
    typedef T Type __attribute__((vector_size(Bytes)));
    typedef T InMemory __attribute__((vector_size(Bytes), aligned(sizeof(T)), may_alias));
};
template <>
struct LanesOf<float, sizeof(float)> {
    using Type = float;
    using InMemory = float;
};
template <>
struct LanesOf<double, sizeof(double)> {
    using Type = double;
    using InMemory = double;
};

/// A part of a product whose right factor fits the first-level cache: at most kBlockDepth rows of
/// kBlockBytes.
constexpr int kBlockDepth = 64;
constexpr int kBlockBytes = 512;
/// From so many rows on it pays to copy the right factor of a block to one place; its rows may lie
/// a multiple of a page apart, where they displace each other from the cache.
constexpr int kManyRows = 16;

/// The product on `Vectors` vectors in each of `Rows` rows, which stay in registers meanwhile.
template <bool Adds, unsigned Rows, unsigned Vectors, int Bytes, class T>
[[gnu::always_inline]] inline void addTile(const BlockProduct<T>& p, int row, int column,
                                           const T* const* right, int rightColumn) {
    using Lanes = typename LanesOf<T, Bytes>::Type;
    using InMemory = typename LanesOf<T, Bytes>::InMemory;
    T* const* const to = p.to + row;
    const T* const* const left = p.left + row;
    Lanes sums[Rows][Vectors];
    for (unsigned r = 0; r < Rows; ++r)
        for (unsigned v = 0; v < Vectors; ++v)
            sums[r][v] = reinterpret_cast<const InMemory*>(to[r] + column)[v];
    for (int k = 0; k < p.depth; ++k) {
        Lanes values[Vectors];
        for (unsigned v = 0; v < Vectors; ++v)
            values[v] = reinterpret_cast<const InMemory*>(right[k] + rightColumn)[v];
        for (unsigned r = 0; r < Rows; ++r) {
            const T factor = left[r][p.leftColumn + k];
            for (unsigned v = 0; v < Vectors; ++v)
                if constexpr (Adds)
                    sums[r][v] += factor * values[v];
                else
                    sums[r][v] -= factor * values[v];
        }
    }
    for (unsigned r = 0; r < Rows; ++r)
        for (unsigned v = 0; v < Vectors; ++v)
            reinterpret_cast<InMemory*>(to[r] + column)[v] = sums[r][v];
}

/// The product on `Rows` rows from `column` on, up to p.column + p.columns: pairs of vectors, then
/// ever narrower ones. Column 0 of the block lies at `rightColumn` of `right`.
template <bool Adds, unsigned Rows, int Bytes, class T>
[[gnu::always_inline]] inline void addRows(const BlockProduct<T>& p, int row, int column,
                                           const T* const* right, int rightColumn) {
    constexpr int kLanes = Bytes / static_cast<int>(sizeof(T));
    const int end = p.column + p.columns;
    for (; end - column >= 2 * kLanes; column += 2 * kLanes)
        addTile<Adds, Rows, 2, Bytes>(p, row, column, right, column - p.column + rightColumn);
    if (end - column >= kLanes) {
        addTile<Adds, Rows, 1, Bytes>(p, row, column, right, column - p.column + rightColumn);
        column += kLanes;
    }
    // Plain numbers follow the narrowest vectors.
    if constexpr (kLanes > 1)
        addRows<Adds, Rows, (Bytes > 16 ? Bytes / 2 : static_cast<int>(sizeof(T)))>(
            p, row, column, right, rightColumn);
}

template <bool Adds, class T>
void addBlock(const BlockProduct<T>& p) {
    alignas(64) T copy[kBlockDepth * kBlockBytes / sizeof(T)];
    const T* copied[kBlockDepth];
    const T* const* right = p.right;
    int rightColumn = p.column;
    if (p.rows >= kManyRows) {
        constexpr int kColumns = kBlockBytes / static_cast<int>(sizeof(T));
        for (int k = 0; k < p.depth; ++k) {
            T* const row = copy + k * kColumns;
            __builtin_memcpy(row, p.right[k] + p.column,
                             static_cast<unsigned>(p.columns) * sizeof(T));
            copied[k] = row;
        }
        right = copied;
        rightColumn = 0;
    }
    int row = 0;
    for (; p.rows - row >= kTileRows; row += kTileRows)
        addRows<Adds, kTileRows, kVectorBytes>(p, row, p.column, right, rightColumn);
    for (; row < p.rows; ++row)
        addRows<Adds, 1, kVectorBytes>(p, row, p.column, right, rightColumn);
}

template <bool Adds, class T>
void addProduct(const BlockProduct<T>& product) {
    constexpr int kColumns = kBlockBytes / static_cast<int>(sizeof(T));
    BlockProduct<T> block = product;
    for (int k = 0; k < product.depth; k += kBlockDepth) {
        block.right = product.right + k;
        block.leftColumn = product.leftColumn + k;
        block.depth = product.depth - k < kBlockDepth ? product.depth - k : kBlockDepth;
        for (int j = 0; j < product.columns; j += kColumns) {
            block.column = product.column + j;
            block.columns = product.columns - j < kColumns ? product.columns - j : kColumns;
            addBlock<Adds>(block);
        }
    }
}

template <class T>
void subtractTriangle(T* const* rows, int leftColumn, int column, int count, int columns) {
    for (int i = 1; i < count; ++i)
        addRows<false, 1, kVectorBytes>(
            BlockProduct<T>{rows, rows, rows, column, leftColumn, count, columns, i}, i, column,
            rows, column);
}

// Magnitudes are ordered as the integers of their bits are; those of NaNs lie above infinity's.
template <class T>
struct BitsOf;
template <>
struct BitsOf<float> {
    using Type = int;
    static constexpr int kInfinity = 0x7F800000;
};
template <>
struct BitsOf<double> {
    using Type = long long;
    static constexpr long long kInfinity = 0x7FF0000000000000;
};

/// An integer by which magnitudes are compared; below 0 for NaN.
template <class T>
[[gnu::always_inline]] inline typename BitsOf<T>::Type orderOf(const T& value) {
    using Bits = typename BitsOf<T>::Type;
    constexpr Bits kMagnitude =
        static_cast<Bits>(~(1ull << (8 * sizeof(T) - 1)) & (~0ull >> (64 - 8 * sizeof(T))));
    Bits bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    bits &= kMagnitude;
    return bits > BitsOf<T>::kInfinity ? -1 : bits;
}

template <class T>
int lastLargest(const T* values, int count) {
    using Bits = typename BitsOf<T>::Type;
    if (values[0] != values[0])
        return 0;
    Bits largest = 0;
    for (int i = 0; i < count; ++i)
        largest = orderOf(values[i]) > largest ? orderOf(values[i]) : largest;
    int last = count - 1;
    while (orderOf(values[last]) != largest)
        --last;
    return last;
}

template <class T>
void eliminate(T* const* columns, int width, int count) {
    using Lanes = typename LanesOf<T, kVectorBytes>::Type;
    using InMemory = typename LanesOf<T, kVectorBytes>::InMemory;
    constexpr int kLanes = kVectorBytes / static_cast<int>(sizeof(T));
    T* const factors = columns[0];
    const Lanes pivot = Lanes{} + factors[0];
    for (int i = 1; i < count; i += kLanes)
        *reinterpret_cast<InMemory*>(factors + i) /= pivot;
    for (int c = 1; c < width; ++c) {
        T* const column = columns[c];
        const Lanes top = Lanes{} + column[0];
        for (int i = 1; i < count; i += kLanes)
            *reinterpret_cast<InMemory*>(column + i) -=
                *reinterpret_cast<const InMemory*>(factors + i) * top;
    }
}

template <class T>
[[gnu::always_inline]] inline T dotOf(const T* a, const T* b, int count) {
    using Lanes = typename LanesOf<T, kVectorBytes>::Type;
    using InMemory = typename LanesOf<T, kVectorBytes>::InMemory;
    constexpr int kLanes = kVectorBytes / static_cast<int>(sizeof(T));
    constexpr unsigned kVectors = 64 / kVectorBytes;
    constexpr int kStride = 64 / static_cast<int>(sizeof(T));
    Lanes sums[kVectors] = {};
    for (; count >= kStride; count -= kStride, a += kStride, b += kStride)
        for (unsigned v = 0; v < kVectors; ++v)
            sums[v] +=
                reinterpret_cast<const InMemory*>(a)[v] * reinterpret_cast<const InMemory*>(b)[v];
    for (unsigned v = 0; count > 0; ++v, count -= kLanes, a += kLanes, b += kLanes) {
        Lanes left;
        Lanes right;
        loadFirst(a, count < kLanes ? count : kLanes, left);
        loadFirst(b, count < kLanes ? count : kLanes, right);
        sums[v] += left * right;
    }
    for (unsigned half = kVectors / 2; half > 0; half /= 2)
        for (unsigned v = 0; v < half; ++v)
            sums[v] += sums[v + half];
    return sumByHalves(sums[0]);
}

template <class T>
T dot(const T* a, const T* b, int count) {
    return dotOf(a, b, count);
}

template <class T>
void residual(const T* matrix, int rows, int columns, const T* x, const T* b, T* out) {
    for (int i = 0; i < rows; ++i, matrix += columns)
        out[i] = b[i] - dotOf(matrix, x, columns);
}

template <class T>
void substitute(const T* const* rows, int count, T* x) {
    constexpr int kBlock = 8;
    T y[kBlock];
    for (int first = 0; first < count; first += kBlock) {
        const T* const* const block = rows + first;
        const int size = count - first < kBlock ? count - first : kBlock;
        for (int i = 0; i < size; ++i)
            y[i] = x[first + i] - dotOf(block[i], x, first);
        for (int k = 0; k < size; ++k)
            for (int i = k + 1; i < size; ++i)
                y[i] -= block[i][first + k] * y[k];
        for (int i = 0; i < size; ++i)
            x[first + i] = y[i];
    }
    for (int first = (count - 1) / kBlock * kBlock; first >= 0; first -= kBlock) {
        const T* const* const block = rows + first;
        const int size = count - first < kBlock ? count - first : kBlock;
        const int end = first + size;
        for (int i = 0; i < size; ++i)
            y[i] = x[first + i] - dotOf(block[i] + end, x + end, count - end);
        for (int k = size - 1; k >= 0; --k) {
            y[k] /= block[k][first + k];
            for (int i = 0; i < k; ++i)
                y[i] -= block[i][first + k] * y[k];
        }
        for (int i = 0; i < size; ++i)
            x[first + i] = y[i];
    }
}

template <class T>
constexpr DenseKernels<T> kKernels = {addProduct<true, T>, addProduct<false, T>,
                                      subtractTriangle<T>, lastLargest<T>,
                                      eliminate<T>,        dot<T>,
                                      residual<T>,         substitute<T>};

constexpr DenseForm kForm = {kKernels<float>, kKernels<double>};

}  // namespace
}  // namespace numerics
