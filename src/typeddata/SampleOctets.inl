// The loops over blocks of 2 x 2 x 2 elements, on the compiler's vectors. Included into the
// anonymous namespace of each unit that compiles them.

// A vector of more bytes than the registers have is taken apart element by element.
#if defined(__AVX512BW__)
constexpr std::size_t kVectorBytes = 64;
#elif defined(__AVX2__)
constexpr std::size_t kVectorBytes = 32;
#else
constexpr std::size_t kVectorBytes = 16;
#endif

template <class T>
using Vector __attribute__((vector_size(kVectorBytes))) = T;
template <class T>
using HalfVector __attribute__((vector_size(kVectorBytes / 2))) = T;

template <std::size_t... i>
struct Indices {};
template <std::size_t n, std::size_t... i>
struct MakeIndices : MakeIndices<n - 1, n - 1, i...> {};
template <std::size_t... i>
struct MakeIndices<0, i...> {
    using Type = Indices<i...>;
};

/// What holds two elements of a type, unsigned.
template <std::size_t size>
struct PairOf;
template <>
struct PairOf<1> {
    using Type = std::uint16_t;
};
template <>
struct PairOf<2> {
    using Type = std::uint32_t;
};
template <>
struct PairOf<4> {
    using Type = std::uint64_t;
};

/// Integers of type T side by side, and the same vectors with a block's pair in each lane. Which of
/// a lane's halves comes first in memory does not matter: both are treated alike.
template <class T>
struct Paired {
    using Pair = typename PairOf<sizeof(T)>::Type;
    using Pairs = Vector<Pair>;
    static constexpr Pair kBits = 8 * sizeof(T);
    static constexpr Pair kLow = static_cast<Pair>((Pair{1} << kBits) - 1);
    static constexpr std::size_t kBlocks = kVectorBytes / sizeof(Pair);
    using Narrow = HalfVector<T>;

    /// Writes the lower halves of the lanes.
    static void storeLow(unsigned char* out, const Pairs& pairs) {
        const Narrow low = __builtin_convertvector(pairs, Narrow);
        __builtin_memcpy(out, &low, sizeof low);
    }
};

/// Loads a vector of a row; lines that are read 4 KiB later are asked for.
template <class V>
inline void loadAhead(V& vector, const void* row, std::size_t bytes) {
    constexpr std::size_t kAhead = 4096;
    const auto* const from = static_cast<const unsigned char*>(row) + bytes;
    __builtin_prefetch(from + kAhead);
    __builtin_memcpy(&vector, from, sizeof vector);
}

// --- Means ---

/// The mean of each block, of integers rounded to the nearest one, halves away from zero.
template <class T>
std::size_t findIntegerMeans(void* out, const void* const rows[4], std::size_t blocks) {
    using P = Paired<T>;
    using Pair = typename P::Pair;
    constexpr bool isSigned = static_cast<T>(-1) < T{};
    // With the sign's bit turned round, signed elements are so much larger, and not negative.
    constexpr Pair kSign = isSigned ? Pair{1} << (P::kBits - 1) : 0;
    constexpr Pair kSigns = static_cast<Pair>(kSign << P::kBits | kSign);
    auto* const results = static_cast<unsigned char*>(out);
    std::size_t i = 0;
    for (; i + P::kBlocks <= blocks; i += P::kBlocks) {
        typename P::Pairs sum = {};
        for (int r = 0; r < 4; ++r) {
            typename P::Pairs pairs;
            loadAhead(pairs, rows[r], i * sizeof(Pair));
            pairs ^= kSigns;
            sum += (pairs & P::kLow) + (pairs >> P::kBits);
        }
        // A sum of eight that was not negative has the bit above those of a negative one.
        if constexpr (isSigned)
            sum += Pair{3} + (sum >> (P::kBits + 2));
        else
            sum += Pair{4};
        P::storeLow(results + i * sizeof(T), (sum >> Pair{3}) ^ kSign);
    }
    return i;
}

/// Every other one of the elements of `a` and `b`, from the first or the second on.
template <int first, class T, std::size_t... i>
inline void everyOther(const Vector<T>& a, const Vector<T>& b, Vector<T>& out, Indices<i...>) {
    out = __builtin_shufflevector(a, b, (static_cast<int>(2 * i) + first)...);
}

/// The mean of each block, summed up in double precision: four rows, then neighbours.
template <class T>
std::size_t findFloatingMeans(void* out, const void* const rows[4], std::size_t blocks) {
    constexpr std::size_t n = kVectorBytes / sizeof(double);
    constexpr typename MakeIndices<n>::Type all;
    // As many elements as there are doubles in a vector.
    using Elements __attribute__((vector_size(n * sizeof(T)))) = T;
    auto* const results = static_cast<unsigned char*>(out);
    std::size_t i = 0;
    for (; i + n <= blocks; i += n) {
        Vector<double> sums[2];
        for (int r = 0; r < 4; ++r)
            for (std::size_t half = 0; half < 2; ++half) {
                Elements elements;
                loadAhead(elements, rows[r], (2 * i + half * n) * sizeof(T));
                const auto wide = __builtin_convertvector(elements, Vector<double>);
                sums[half] = r == 0 ? wide : sums[half] + wide;
            }
        Vector<double> even;
        Vector<double> odd;
        everyOther<0, double>(sums[0], sums[1], even, all);
        everyOther<1, double>(sums[0], sums[1], odd, all);
        const Elements means = __builtin_convertvector((even + odd) / 8.0, Elements);
        __builtin_memcpy(results + i * sizeof(T), &means, sizeof means);
    }
    return i;
}

// --- Most frequent values ---

template <class T>
inline void putInOrder(Vector<T>& a, Vector<T>& b) {
    const Vector<T> lesser = b < a ? b : a;
    b = b < a ? a : b;
    a = lesser;
}

/// Sorts eight values in each lane, by Batcher's network.
template <class T, std::size_t... i>
inline void sortEight(Vector<T> (&v)[8], Indices<i...>) {
    constexpr int kPairs[19][2] = {{0, 1}, {2, 3}, {4, 5}, {6, 7}, {0, 2}, {1, 3}, {4, 6},
                                   {5, 7}, {1, 2}, {5, 6}, {0, 4}, {1, 5}, {2, 6}, {3, 7},
                                   {2, 4}, {3, 5}, {1, 2}, {3, 4}, {5, 6}};
    (putInOrder<T>(v[kPairs[i][0]], v[kPairs[i][1]]), ...);
}

/// The most frequent of eight values in each lane, the smallest of those that are.
template <class T>
inline void mostFrequentOf(Vector<T> (&values)[8], Vector<T>& best) {
    sortEight<T>(values, typename MakeIndices<19>::Type());
    best = values[0];
    // The longest runs win, among these the first; there is only one of more than four.
    for (int length = 2; length <= 4; ++length)
        for (int first = 8 - length; first >= 0; --first)
            best = values[first] == values[first + length - 1] ? values[first] : best;
}

template <class T>
bool isZero(const Vector<T>& values) {
    using Sixteen __attribute__((vector_size(16))) = std::uint64_t;
    Sixteen parts[kVectorBytes / 16];
    __builtin_memcpy(parts, &values, sizeof parts);
    for (std::size_t i = 1; i < kVectorBytes / 16; ++i)
        parts[0] |= parts[i];
    return (parts[0][0] | parts[0][1]) == 0;
}

template <class T>
std::size_t findMostFrequent(void* out, const void* const rows[4], std::size_t blocks) {
    using P = Paired<T>;
    using Pairs = typename P::Pairs;
    constexpr auto kHigh = static_cast<typename P::Pair>(P::kLow << P::kBits);
    auto* const results = static_cast<unsigned char*>(out);
    std::size_t i = 0;
    for (; i + 2 * P::kBlocks <= blocks; i += 2 * P::kBlocks) {
        Vector<T> values[8];
        Vector<T> differences = {};
        for (int r = 0; r < 4; ++r) {
            // The lanes' lower halves are for the first vector's blocks.
            Pairs a;
            Pairs b;
            loadAhead(a, rows[r], 2 * i * sizeof(T));
            loadAhead(b, rows[r], 2 * i * sizeof(T) + sizeof a);
            values[2 * r] = reinterpret_cast<Vector<T>>((a & P::kLow) | (b << P::kBits));
            values[2 * r + 1] = reinterpret_cast<Vector<T>>((a >> P::kBits) | (b & kHigh));
            differences |= (values[2 * r] ^ values[0]) | (values[2 * r + 1] ^ values[0]);
        }
        Vector<T> best = values[0];
        if (!isZero<T>(differences))
            mostFrequentOf<T>(values, best);
        const auto pairs = reinterpret_cast<Pairs>(best);
        P::storeLow(results + i * sizeof(T), pairs);
        P::storeLow(results + (i + P::kBlocks) * sizeof(T), pairs >> P::kBits);
    }
    return i;
}

constexpr OctetKernels kOctets = {
    {findIntegerMeans<std::int8_t>, findIntegerMeans<std::uint8_t>, findIntegerMeans<std::int16_t>,
     findIntegerMeans<std::uint16_t>, findIntegerMeans<std::int32_t>,
     findIntegerMeans<std::uint32_t>, findFloatingMeans<float>, findFloatingMeans<double>},
    {findMostFrequent<std::int8_t>, findMostFrequent<std::uint8_t>, findMostFrequent<std::int16_t>,
     findMostFrequent<std::uint16_t>, findMostFrequent<std::int32_t>,
     findMostFrequent<std::uint32_t>}};
