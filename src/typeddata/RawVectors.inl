// The kernels over vectors, on the vector types of the compiler. Included by one unit per
// instruction set, inside of its anonymous namespace and after its `Isa`, which names the vectors
// of integers, `Int`, of floats and of doubles, and does what the compiler has no operators for:
// widening, packing, truncation, stores past the caches.
//
// Each kernel takes strides of four vectors of single precision: 16 elements, 32 or 64.

constexpr std::size_t kVector = sizeof(Isa::Int);
constexpr std::size_t kLanes = kVector / 4;  ///< Of 32 bits.
constexpr std::size_t kStride = 4 * kLanes;

/// A vector of elements of one type, and what it is in memory, at any address.
template <class T>
struct LanesOf {
    typedef T Type __attribute__((vector_size(kVector)));
    typedef T InMemory __attribute__((vector_size(kVector), aligned(1), may_alias));
};
template <class T>
using Vector = typename LanesOf<T>::Type;

struct Words {
    Isa::Int v[4];
};
struct Floats {
    Vector<float> v[4];
};
struct Doubles {
    Vector<double> v[8];
};
/// 16-bit elements.
struct Halves {
    Isa::Int v[2];
};

template <class T>
constexpr bool isHalf = sizeof(T) <= 2;
template <class A, class B>
constexpr bool isSame = false;
template <class A>
constexpr bool isSame<A, A> = true;
template <class T>
constexpr bool isFloating = isSame<T, float> || isSame<T, double>;

template <class T>
inline Vector<T> load(const unsigned char* in) {
    return *reinterpret_cast<const typename LanesOf<T>::InMemory*>(in);
}
inline Isa::Int loadInts(const unsigned char* in) {
    return reinterpret_cast<Isa::Int>(load<long long>(in));
}
template <class V>
inline void store(unsigned char* out, const V& values) {
    *reinterpret_cast<LanesOf<long long>::InMemory*>(out) =
        reinterpret_cast<Vector<long long>>(values);
}

/// The element in every lane, also if it is -0.
template <class T>
inline Vector<T> all(T a) {
    return a - Vector<T>{};
}

/// The lesser of each two, the second where one is NaN.
template <class T>
inline Vector<T> lesser(Vector<T> a, Vector<T> b) {
    if constexpr (isFloating<T>)
        return Isa::lesser(a, b);
    else
        return a < b ? a : b;
}
/// The larger of each two, the second where one is NaN.
template <class T>
inline Vector<T> larger(Vector<T> a, Vector<T> b) {
    if constexpr (isFloating<T>)
        return Isa::larger(a, b);
    else
        return a > b ? a : b;
}

// --- Strides of any type to the vectors that the work is done in ---

template <class From>
inline Words loadWords(const unsigned char* in) {
    Words words;
    for (std::size_t i = 0; i < 4; ++i) {
        const unsigned char* const part = in + i * kLanes * sizeof(From);
        if constexpr (isSame<From, std::uint8_t>)
            words.v[i] = Isa::widenBytes(part);
        else if constexpr (isSame<From, std::int16_t>)
            words.v[i] = Isa::widenShorts(part);
        else if constexpr (isSame<From, std::uint16_t>)
            words.v[i] = Isa::widenUshorts(part);
        else
            words.v[i] = loadInts(part);
    }
    return words;
}

template <class From>
inline Halves loadHalves(const unsigned char* in) {
    Halves halves;
    for (std::size_t i = 0; i < 2; ++i)
        if constexpr (sizeof(From) == 1)
            halves.v[i] = Isa::widenBytesToHalves(in + i * kVector / 2);
        else
            halves.v[i] = loadInts(in + i * kVector);
    return halves;
}

template <class From>
inline Floats loadFloats(const unsigned char* in) {
    Floats floats;
    if constexpr (isSame<From, float>) {
        for (std::size_t i = 0; i < 4; ++i)
            floats.v[i] = load<float>(in + i * kVector);
    } else if constexpr (isSame<From, double>) {
        for (std::size_t i = 0; i < 4; ++i)
            floats.v[i] = Isa::toFloats(load<double>(in + 2 * i * kVector),
                                        load<double>(in + (2 * i + 1) * kVector));
    } else {
        const Words words = loadWords<From>(in);
        for (std::size_t i = 0; i < 4; ++i)
            floats.v[i] = __builtin_convertvector(
                reinterpret_cast<Vector<std::int32_t>>(words.v[i]), Vector<float>);
    }
    return floats;
}

template <class From>
inline Doubles loadDoubles(const unsigned char* in) {
    Doubles doubles;
    if constexpr (isSame<From, double>) {
        for (std::size_t i = 0; i < 8; ++i)
            doubles.v[i] = load<double>(in + i * kVector);
    } else if constexpr (isSame<From, float>) {
        for (std::size_t i = 0; i < 8; ++i)
            doubles.v[i] = Isa::floatsToDoubles(in + i * kVector / 2);
    } else {
        const Words words = loadWords<From>(in);
        for (std::size_t i = 0; i < 4; ++i) {
            doubles.v[2 * i] = Isa::lowToDoubles(words.v[i]);
            doubles.v[2 * i + 1] = Isa::highToDoubles(words.v[i]);
        }
    }
    return doubles;
}

// --- and back: cut to the range of the type ---

template <class To>
inline void storeWords(unsigned char* out, const Words& words) {
    if constexpr (isSame<To, std::uint8_t>) {
        store(out, Isa::packToBytes(words.v[0], words.v[1], words.v[2], words.v[3]));
    } else if constexpr (isSame<To, std::int16_t>) {
        for (std::size_t i = 0; i < 2; ++i)
            store(out + i * kVector, Isa::packToShorts(words.v[2 * i], words.v[2 * i + 1]));
    } else if constexpr (isSame<To, std::uint16_t>) {
        for (std::size_t i = 0; i < 2; ++i)
            store(out + i * kVector, Isa::packToUshorts(words.v[2 * i], words.v[2 * i + 1]));
    } else {
        for (std::size_t i = 0; i < 4; ++i)
            store(out + i * kVector, words.v[i]);
    }
}

/// From integers of 8 or 16 bits to the same.
template <class To, class From>
inline void storeHalves(unsigned char* out, Halves halves) {
    if constexpr (isSame<To, std::uint8_t>) {
        if constexpr (isSame<From, std::uint16_t>)
            for (Isa::Int& half : halves.v)
                half = reinterpret_cast<Isa::Int>(lesser<std::uint16_t>(
                    reinterpret_cast<Vector<std::uint16_t>>(half), all<std::uint16_t>(255)));
        store(out, Isa::packHalvesToBytes(halves.v[0], halves.v[1]));
    } else {
        for (std::size_t i = 0; i < 2; ++i) {
            // Between the 16-bit types, in both directions, what looks negative becomes 0.
            const auto half = reinterpret_cast<Vector<std::int16_t>>(halves.v[i]);
            store(out + i * kVector,
                  sizeof(From) == 2 ? larger<std::int16_t>(half, all<std::int16_t>(0)) : half);
        }
    }
}

// The conversion instruction makes the smallest int of NaN and of all that it cannot represent. For
// smaller types that is right for values that are too low: packing cuts it.
template <class To, std::int32_t belowInt>
inline Isa::Int truncate(Vector<float> value) {
    if constexpr (isSame<To, std::int32_t>) {
        constexpr float bound = 2147483648.0f;
        auto cut = reinterpret_cast<Vector<std::int32_t>>(Isa::truncate(value));
        cut = value >= bound ? all<std::int32_t>(INT32_MAX) : cut;
        if constexpr (belowInt != INT32_MIN)
            cut = value < -bound ? all<std::int32_t>(belowInt) : cut;
        return reinterpret_cast<Isa::Int>(cut);
    } else {
        constexpr float largest = isSame<To, std::uint8_t>   ? 255.0f
                                  : isSame<To, std::int16_t> ? 32767.0f
                                                             : 65535.0f;
        auto cut =
            reinterpret_cast<Vector<std::int32_t>>(Isa::truncate(Isa::lesser(all(largest), value)));
        if constexpr (isSame<To, std::int16_t>)
            cut = value == value ? cut : all<std::int32_t>(0);
        return reinterpret_cast<Isa::Int>(cut);
    }
}

template <class To, std::int32_t belowInt>
inline void storeFloats(unsigned char* out, const Floats& floats) {
    if constexpr (isSame<To, float>) {
        for (std::size_t i = 0; i < 4; ++i)
            store(out + i * kVector, floats.v[i]);
    } else {
        Words words;
        for (std::size_t i = 0; i < 4; ++i)
            words.v[i] = truncate<To, belowInt>(floats.v[i]);
        storeWords<To>(out, words);
    }
}

template <class To>
inline Vector<double> cut(Vector<double> value) {
    constexpr double largest = isSame<To, std::uint8_t>    ? 255.0
                               : isSame<To, std::int16_t>  ? 32767.0
                               : isSame<To, std::uint16_t> ? 65535.0
                                                           : 2147483647.0;
    if constexpr (isSame<To, std::int16_t>)
        value = value == value ? value : all(0.0);
    if constexpr (isSame<To, std::int32_t>)
        value = Isa::larger(all(-2147483646.0), value);
    return Isa::lesser(all(largest), value);
}

template <class To>
inline void storeDoubles(unsigned char* out, const Doubles& doubles) {
    if constexpr (isSame<To, double>) {
        for (std::size_t i = 0; i < 8; ++i)
            store(out + i * kVector, doubles.v[i]);
    } else {
        Words words;
        for (std::size_t i = 0; i < 4; ++i)
            words.v[i] = Isa::truncate(cut<To>(doubles.v[2 * i]), cut<To>(doubles.v[2 * i + 1]));
        storeWords<To>(out, words);
    }
}

// --- Kernels ---

/// Asks for what lies `ahead` of a stride. Addresses beyond the array do no harm.
inline void prefetch(const unsigned char* stride, std::size_t bytes, std::size_t ahead) {
    const auto first = reinterpret_cast<std::uintptr_t>(stride) + ahead;
    for (std::size_t i = 0; i < bytes; i += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(first + i));
}

// With so much to be read under way memory delivers at its full rate, also across the ends of
// pages.
constexpr std::size_t kReadAhead = 2048;
// So far ahead, the lines that will be written to come to the nearest cache before the stores do,
// which wait for each other.
constexpr std::size_t kWriteAhead = 1024;

constexpr std::int32_t kBelowIntInCopies = -2147483646;
constexpr std::int32_t kBelowIntInMappings = INT32_MIN;

template <class To, class From>
[[gnu::always_inline]] inline void convertStride(unsigned char* out, const unsigned char* in) {
    if constexpr (isHalf<To> && isHalf<From>)
        storeHalves<To, From>(out, loadHalves<From>(in));
    else if constexpr (isSame<To, double> || (isSame<From, double> && !isSame<To, float>))
        storeDoubles<To>(out, loadDoubles<From>(in));
    else if constexpr (isSame<To, float> || isSame<From, float>)
        storeFloats<To, kBelowIntInCopies>(out, loadFloats<From>(in));
    else
        storeWords<To>(out, loadWords<From>(in));
}

template <class To, class From>
std::size_t convert(void* to, const void* from, std::size_t count) {
    auto* out = static_cast<unsigned char*>(to);
    const auto* in = static_cast<const unsigned char*>(from);
    std::size_t i = 0;
    for (; i + kStride <= count; i += kStride) {
        prefetch(in, kStride * sizeof(From), kReadAhead);
        prefetch(out, kStride * sizeof(To), kWriteAhead);
        convertStride<To, From>(out, in);
        out += kStride * sizeof(To);
        in += kStride * sizeof(From);
    }
    return i;
}

template <class To, class From>
std::size_t map(void* to, const void* from, std::size_t count, double offset, double scale) {
    auto* out = static_cast<unsigned char*>(to);
    const auto* in = static_cast<const unsigned char*>(from);
    const auto singleOffset = static_cast<float>(offset);
    const auto singleScale = static_cast<float>(scale);
    constexpr bool isRounded = !isSame<To, double>;
    const double wideOffset = isRounded ? double{singleOffset} : offset;
    const double wideScale = isRounded ? double{singleScale} : scale;
    std::size_t i = 0;
    for (; i + kStride <= count; i += kStride) {
        prefetch(in, kStride * sizeof(From), kReadAhead);
        prefetch(out, kStride * sizeof(To), kWriteAhead);
        constexpr bool inDoubles =
            isSame<To, double> || (isSame<From, double> && !isSame<To, float>);
        if constexpr (inDoubles) {
            Doubles doubles = loadDoubles<From>(in);
            for (Vector<double>& value : doubles.v)
                value = (value + wideOffset) * wideScale;
            if constexpr (isHalf<To>) {
                Floats floats;
                for (std::size_t k = 0; k < 4; ++k)
                    floats.v[k] = Isa::toFloats(doubles.v[2 * k], doubles.v[2 * k + 1]);
                storeFloats<To, kBelowIntInMappings>(out, floats);
            } else {
                storeDoubles<To>(out, doubles);
            }
        } else {
            Floats floats = loadFloats<From>(in);
            for (Vector<float>& value : floats.v)
                value = (value + singleOffset) * singleScale;
            storeFloats<To, kBelowIntInMappings>(out, floats);
        }
        out += kStride * sizeof(To);
        in += kStride * sizeof(From);
    }
    return i;
}

/// Four vectors of elements at a time, each with bounds of its own.
template <class T>
std::size_t widen(const void* data, std::size_t count, Range& range) {
    constexpr std::size_t kElements = kVector / sizeof(T);
    const auto* const in = static_cast<const unsigned char*>(data);
    if (count < 4 * kElements)
        return 0;
    Vector<T> least[4];
    Vector<T> largest[4];
    for (std::size_t k = 0; k < 4; ++k) {
        least[k] = all(static_cast<T>(range.least));
        largest[k] = all(static_cast<T>(range.largest));
    }
    std::size_t i = 0;
    for (; i + 4 * kElements <= count; i += 4 * kElements) {
        const unsigned char* const stride = in + i * sizeof(T);
        prefetch(stride, 4 * kVector, kReadAhead);
        for (std::size_t k = 0; k < 4; ++k) {
            const Vector<T> value = load<T>(stride + k * kVector);
            least[k] = lesser<T>(value, least[k]);
            largest[k] = larger<T>(value, largest[k]);
        }
    }
    for (std::size_t k = 1; k < 4; ++k) {
        least[0] = lesser<T>(least[k], least[0]);
        largest[0] = larger<T>(largest[k], largest[0]);
    }
    for (std::size_t k = 0; k < kElements; ++k) {
        const auto low = static_cast<double>(least[0][k]);
        const auto high = static_cast<double>(largest[0][k]);
        range.least = low < range.least ? low : range.least;
        range.largest = high > range.largest ? high : range.largest;
    }
    return i;
}

template <class T>
std::size_t countEqual(const void* value, const void* data, std::size_t count) {
    constexpr std::size_t kElements = kVector / sizeof(T);
    const auto* const in = static_cast<const unsigned char*>(data);
    T element;
    __builtin_memcpy(&element, value, sizeof element);
    const Vector<T> first = all(element);
    std::size_t i = 0;
    for (; i + 4 * kElements <= count; i += 4 * kElements) {
        const unsigned char* const stride = in + i * sizeof(T);
        prefetch(stride, 4 * kVector, kReadAhead);
        auto equal = load<T>(stride) == first;
        for (std::size_t k = 1; k < 4; ++k)
            equal &= load<T>(stride + k * kVector) == first;
        if (!Isa::isAll(reinterpret_cast<Isa::Int>(equal)))
            break;
    }
    return i;
}

template <std::size_t... i>
struct Indices {};
template <std::size_t n, std::size_t... i>
struct IndicesBelow : IndicesBelow<n - 1, n - 1, i...> {};
template <std::size_t... i>
struct IndicesBelow<0, i...> {
    using Type = Indices<i...>;
};

/// Reverses the halves of elements of `size` bytes.
template <std::size_t size, std::size_t... i>
inline Vector<std::uint16_t> reverseHalves(Vector<std::uint16_t> a, Indices<i...>) {
    return __builtin_shufflevector(a, a, (i ^ (size / 2 - 1))...);
}

template <std::size_t size>
std::size_t swap(void* to, const void* from, std::size_t count) {
    auto* const out = static_cast<unsigned char*>(to);
    const auto* const in = static_cast<const unsigned char*>(from);
    constexpr std::size_t kElements = kVector / size;
    std::size_t i = 0;
    for (; i + 4 * kElements <= count; i += 4 * kElements)
        for (std::size_t k = 0; k < 4; ++k) {
            const std::size_t at = (i + k * kElements) * size;
            const auto halves = load<std::uint16_t>(in + at);
            store(out + at, reverseHalves<size>((halves << 8) | (halves >> 8),
                                                typename IndicesBelow<kVector / 2>::Type()));
        }
    return i;
}

std::size_t stream(void* to, const void* from, std::size_t bytes) {
    auto* const out = static_cast<unsigned char*>(to);
    const auto* const in = static_cast<const unsigned char*>(from);
    std::size_t i = 0;
    for (; i + 64 <= bytes; i += 64)
        for (std::size_t k = 0; k < 64; k += kVector)
            Isa::streamTo(out + i + k, loadInts(in + i + k));
    return i;
}

void endStream() {
    _mm_sfence();
}

#include "typeddata/RawTable.inl"

constexpr Kernels kTable = tableOf(AllTypes());
