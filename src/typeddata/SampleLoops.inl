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

// --- The table ---

template <class T, class Sum, class WideSum>
constexpr SampleKernels::OfType kernelsOf() {
    return {{add<T, Sum>, divide<T, Sum>, sizeof(Sum)},
            {add<T, WideSum>, divide<T, WideSum>, sizeof(WideSum)},
            chooseLarger<T>,
            findLargest<T>};
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
