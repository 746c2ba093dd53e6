// The loops of SampleKernels.h, which the compiler vectorises. Included into the anonymous
// namespace of each unit that compiles them.

template <class T>
inline T load(const void* data, std::size_t i) {
    T value;
    __builtin_memcpy(&value, static_cast<const unsigned char*>(data) + i * sizeof(T), sizeof value);
    return value;
}

template <class T>
inline void store(void* data, std::size_t i, T value) {
    __builtin_memcpy(static_cast<unsigned char*>(data) + i * sizeof(T), &value, sizeof value);
}

template <class A, class B>
constexpr bool isSame = false;
template <class A>
constexpr bool isSame<A, A> = true;
template <class T>
constexpr bool isFloating = isSame<T, float> || isSame<T, double>;

// --- Means ---

template <class T, class Sum>
void add(void* combined, const void* row, std::size_t count, bool isFirst) {
    auto* const sums = static_cast<Sum*>(combined);
    if (isFirst)
        for (std::size_t i = 0; i < count; ++i)
            sums[i] = static_cast<Sum>(load<T>(row, i));
    else
        for (std::size_t i = 0; i < count; ++i)
            sums[i] += static_cast<Sum>(load<T>(row, i));
}

/// sum / voxels, of integers rounded to the nearest one, halves away from zero.
template <class T, class Sum>
inline T meanOf(Sum sum, std::int64_t voxels) {
    if constexpr (isFloating<T>) {
        return static_cast<T>(sum / static_cast<double>(voxels));
    } else {
        const auto wide = static_cast<std::int64_t>(sum);
        const std::int64_t half = wide < 0 ? -(voxels / 2) : voxels / 2;
        return static_cast<T>((wide + half) / voxels);
    }
}

/// The same by one division of doubles: with few voxels no mean comes so close to a half that the
/// quotient could be rounded to it, or across it.
template <class T, class Sum>
inline T meanOfFew(Sum sum, double voxels) {
    if constexpr (isFloating<T>) {
        return static_cast<T>(sum / voxels);
    } else {
        const double mean = static_cast<double>(sum) / voxels;
        const double rounded = mean + (mean < 0 ? -0.5 : 0.5);
        if constexpr (isSame<T, std::uint32_t>)
            return static_cast<T>(rounded);
        else
            return static_cast<T>(static_cast<std::int32_t>(rounded));
    }
}

template <class T, class Sum>
void divide(void* out, const void* combined, std::size_t blocks, std::size_t factor,
            std::size_t components, std::int64_t voxels) {
    const auto* const sums = static_cast<const Sum*>(combined);
    const double fewVoxels = static_cast<double>(voxels);
    if (components == 1 && factor == 2 && voxels <= kFewVoxels) {
        for (std::size_t i = 0; i < blocks; ++i)
            store<T>(out, i, meanOfFew<T, Sum>(sums[2 * i] + sums[2 * i + 1], fewVoxels));
        return;
    }
    for (std::size_t i = 0; i < blocks; ++i)
        for (std::size_t c = 0; c < components; ++c) {
            const Sum* const group = sums + i * factor * components + c;
            Sum sum = group[0];
            for (std::size_t k = 1; k < factor; ++k)
                sum += group[k * components];
            const T mean = voxels <= kFewVoxels ? meanOfFew<T, Sum>(sum, fewVoxels)
                                                : meanOf<T, Sum>(sum, voxels);
            store<T>(out, i * components + c, mean);
        }
}

// --- Maxima ---

/// The larger one; a number rather than NaN.
template <class T>
inline T larger(T a, T b) {
    if constexpr (isFloating<T>)
        return b > a || a != a ? b : a;
    else
        return b > a ? b : a;
}

template <class T>
void chooseLarger(void* combined, const void* row, std::size_t count, bool isFirst) {
    auto* const largest = static_cast<T*>(combined);
    if (isFirst)
        __builtin_memcpy(largest, row, count * sizeof(T));
    else
        for (std::size_t i = 0; i < count; ++i)
            largest[i] = larger(largest[i], load<T>(row, i));
}

template <class T>
void findLargest(void* out, const void* combined, std::size_t blocks, std::size_t factor,
                 std::size_t components, std::int64_t) {
    const auto* const values = static_cast<const T*>(combined);
    for (std::size_t i = 0; i < blocks; ++i)
        for (std::size_t c = 0; c < components; ++c) {
            const T* const group = values + i * factor * components + c;
            T largest = group[0];
            for (std::size_t k = 1; k < factor; ++k)
                largest = larger(largest, group[k * components]);
            store<T>(out, i * components + c, largest);
        }
}

// --- Most frequent values ---

// A vector of more bytes than the registers have is taken apart element by element.
#if defined(__AVX2__)
constexpr std::size_t kVectorBytes = 32;
#else
constexpr std::size_t kVectorBytes = 16;
#endif

template <class T>
using Vector __attribute__((vector_size(kVectorBytes))) = T;

template <std::size_t... i>
struct Indices {};
template <std::size_t n, std::size_t... i>
struct MakeIndices : MakeIndices<n - 1, n - 1, i...> {};
template <std::size_t... i>
struct MakeIndices<0, i...> {
    using Type = Indices<i...>;
};

/// Every other one of the elements of `a` and `b`, from the first or the second on.
template <int first, class T, std::size_t... i>
inline void everyOther(const Vector<T>& a, const Vector<T>& b, Vector<T>& out, Indices<i...>) {
    out = __builtin_shufflevector(a, b, (static_cast<int>(2 * i) + first)...);
}

/// The most frequent of eight values in each lane, the smallest of those that are.
template <class T>
inline void mostFrequentOf(const Vector<T> (&values)[8], Vector<T>& best) {
    using Counts = decltype(values[0] == values[0]);
    Counts counts[8] = {};
    for (int a = 0; a < 8; ++a)
        for (int b = a + 1; b < 8; ++b) {
            const Counts equal = values[a] == values[b];
            counts[a] -= equal;
            counts[b] -= equal;
        }
    best = values[0];
    Counts most = counts[0];
    for (int k = 1; k < 8; ++k) {
        const Counts isBetter = (counts[k] > most) | ((counts[k] == most) & (values[k] < best));
        best = isBetter ? values[k] : best;
        most = isBetter ? counts[k] : most;
    }
}

template <class T>
bool isZero(const Vector<T>& values) {
    std::uint64_t words[kVectorBytes / 8];
    __builtin_memcpy(words, &values, sizeof words);
    std::uint64_t bits = 0;
    for (const std::uint64_t word : words)
        bits |= word;
    return bits == 0;
}

template <class T>
std::size_t findMostFrequent(void* out, const void* const rows[4], std::size_t blocks) {
    constexpr std::size_t n = kVectorBytes / sizeof(T);
    constexpr typename MakeIndices<n>::Type all;
    auto* const results = static_cast<unsigned char*>(out);
    std::size_t i = 0;
    for (; i + n <= blocks; i += n) {
        Vector<T> values[8];
        Vector<T> differences = {};
        for (int r = 0; r < 4; ++r) {
            const auto* const row = static_cast<const unsigned char*>(rows[r]) + 2 * i * sizeof(T);
            Vector<T> halves[2];
            __builtin_memcpy(halves, row, sizeof halves);
            everyOther<0, T>(halves[0], halves[1], values[2 * r], all);
            everyOther<1, T>(halves[0], halves[1], values[2 * r + 1], all);
            differences |= (values[2 * r] ^ values[0]) | (values[2 * r + 1] ^ values[0]);
        }
        Vector<T> best = values[0];
        if (!isZero<T>(differences))
            mostFrequentOf<T>(values, best);
        __builtin_memcpy(results + i * sizeof(T), &best, sizeof best);
    }
    return i;
}

// --- The table ---

template <class T, class Sum, class WideSum>
constexpr SampleKernels::OfType kernelsOf() {
    SampleKernels::OfType kernels = {{add<T, Sum>, divide<T, Sum>, sizeof(Sum)},
                                     {add<T, WideSum>, divide<T, WideSum>, sizeof(WideSum)},
                                     chooseLarger<T>,
                                     findLargest<T>,
                                     nullptr};
    if constexpr (!isFloating<T>)
        kernels.findMostFrequent = findMostFrequent<T>;
    return kernels;
}

constexpr SampleKernels kTable = {{
    kernelsOf<std::int8_t, std::int32_t, std::int64_t>(),
    kernelsOf<std::uint8_t, std::int32_t, std::int64_t>(),
    kernelsOf<std::int16_t, std::int32_t, std::int64_t>(),
    kernelsOf<std::uint16_t, std::int32_t, std::int64_t>(),
    // Sums of few are exact in double precision, too, to which vectors convert signed integers.
    kernelsOf<std::int32_t, double, std::int64_t>(),
    kernelsOf<std::uint32_t, std::int64_t, std::int64_t>(),
    kernelsOf<float, double, double>(),
    kernelsOf<double, double, double>(),
}};
