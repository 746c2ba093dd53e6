// The kernels over vectors, from the few operations in which instruction sets differ. Included by
// one unit per instruction set, inside of its anonymous namespace and after its `Isa`, which names
// the vector types `Int`, `Float` and `Double` and the operations on them.
//
// Each kernel takes strides of 64 bytes of single precision per 128 bits of vector: 16 elements, or
// 32, in four vectors.

constexpr std::size_t kStride = 4 * Isa::kLanes;

struct Words {
    Isa::Int v[4];
};
struct Floats {
    Isa::Float v[4];
};
struct Doubles {
    Isa::Double v[8];
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

constexpr std::size_t kVector = sizeof(Isa::Int);

// --- Strides of any type to the vectors that the work is done in ---

template <class From>
inline Words loadWords(const unsigned char* in) {
    Words words;
    for (std::size_t i = 0; i < 4; ++i) {
        const unsigned char* const part = in + i * Isa::kLanes * sizeof(From);
        if constexpr (isSame<From, std::uint8_t>)
            words.v[i] = Isa::widenBytes(part);
        else if constexpr (isSame<From, std::int16_t>)
            words.v[i] = Isa::widenShorts(part);
        else if constexpr (isSame<From, std::uint16_t>)
            words.v[i] = Isa::widenUshorts(part);
        else
            words.v[i] = Isa::load(part);
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
            halves.v[i] = Isa::load(in + i * kVector);
    return halves;
}

template <class From>
inline Floats loadFloats(const unsigned char* in) {
    Floats floats;
    if constexpr (isSame<From, float>) {
        for (std::size_t i = 0; i < 4; ++i)
            floats.v[i] = Isa::loadFloats(in + i * kVector);
    } else if constexpr (isSame<From, double>) {
        for (std::size_t i = 0; i < 4; ++i)
            floats.v[i] = Isa::toFloats(Isa::loadDoubles(in + 2 * i * kVector),
                                        Isa::loadDoubles(in + (2 * i + 1) * kVector));
    } else {
        const Words words = loadWords<From>(in);
        for (std::size_t i = 0; i < 4; ++i)
            floats.v[i] = Isa::toFloats(words.v[i]);
    }
    return floats;
}

template <class From>
inline Doubles loadDoubles(const unsigned char* in) {
    Doubles doubles;
    if constexpr (isSame<From, double>) {
        for (std::size_t i = 0; i < 8; ++i)
            doubles.v[i] = Isa::loadDoubles(in + i * kVector);
    } else if constexpr (isSame<From, float>) {
        for (std::size_t i = 0; i < 8; ++i)
            doubles.v[i] = Isa::floatsToDoubles(in + i * kVector / 2);
    } else {
        const Words words = loadWords<From>(in);
        for (std::size_t i = 0; i < 4; ++i)
            Isa::toDoubles(words.v[i], doubles.v[2 * i], doubles.v[2 * i + 1]);
    }
    return doubles;
}

// --- and back: cut to the range of the type ---

template <class To>
inline void storeWords(unsigned char* out, const Words& words) {
    if constexpr (isSame<To, std::uint8_t>) {
        Isa::store(out, Isa::packToBytes(words.v[0], words.v[1], words.v[2], words.v[3]));
    } else if constexpr (isSame<To, std::int16_t>) {
        for (std::size_t i = 0; i < 2; ++i)
            Isa::store(out + i * kVector, Isa::packToShorts(words.v[2 * i], words.v[2 * i + 1]));
    } else if constexpr (isSame<To, std::uint16_t>) {
        for (std::size_t i = 0; i < 2; ++i)
            Isa::store(out + i * kVector, Isa::packToUshorts(words.v[2 * i], words.v[2 * i + 1]));
    } else {
        for (std::size_t i = 0; i < 4; ++i)
            Isa::store(out + i * kVector, words.v[i]);
    }
}

/// From integers of 8 or 16 bits to the same.
template <class To, class From>
inline void storeHalves(unsigned char* out, Halves halves) {
    if constexpr (isSame<To, std::uint8_t>) {
        if constexpr (isSame<From, std::uint16_t>)
            for (Isa::Int& half : halves.v)
                half = Isa::atMost255(half);
        Isa::store(out, Isa::packHalvesToBytes(halves.v[0], halves.v[1]));
    } else {
        for (std::size_t i = 0; i < 2; ++i) {
            // Between the 16-bit types, in both directions, what looks negative becomes 0.
            const bool isCut = sizeof(From) == 2;
            Isa::store(out + i * kVector, isCut ? Isa::positivePart(halves.v[i]) : halves.v[i]);
        }
    }
}

// The conversion instruction makes the smallest int of NaN and of all that it cannot represent. For
// smaller types that is right for values that are too low: packing cuts it.
template <class To>
inline void storeFloats(unsigned char* out, const Floats& floats, int belowInt) {
    if constexpr (isSame<To, float>) {
        for (std::size_t i = 0; i < 4; ++i)
            Isa::storeFloats(out + i * kVector, floats.v[i]);
    } else {
        Words words;
        for (std::size_t i = 0; i < 4; ++i) {
            const Isa::Float value = floats.v[i];
            if constexpr (isSame<To, std::int32_t>)
                words.v[i] = Isa::truncateCut(value, belowInt);
            else if constexpr (isSame<To, std::int16_t>)
                words.v[i] = Isa::truncateNumber(Isa::atMost(value, 32767.0f));
            else
                words.v[i] =
                    Isa::truncate(Isa::atMost(value, isSame<To, std::uint8_t> ? 255.0f : 65535.0f));
        }
        storeWords<To>(out, words);
    }
}

template <class To>
inline void storeDoubles(unsigned char* out, const Doubles& doubles) {
    if constexpr (isSame<To, double>) {
        for (std::size_t i = 0; i < 8; ++i)
            Isa::storeDoubles(out + i * kVector, doubles.v[i]);
    } else {
        Words words;
        for (std::size_t i = 0; i < 4; ++i) {
            Isa::Double value[2] = {doubles.v[2 * i], doubles.v[2 * i + 1]};
            for (Isa::Double& half : value) {
                constexpr double largest = isSame<To, std::uint8_t>    ? 255.0
                                           : isSame<To, std::int16_t>  ? 32767.0
                                           : isSame<To, std::uint16_t> ? 65535.0
                                                                       : 2147483647.0;
                if constexpr (isSame<To, std::int16_t>)
                    half = Isa::nanToZero(half);
                if constexpr (isSame<To, std::int32_t>)
                    half = Isa::atLeast(half, -2147483646.0);
                half = Isa::atMost(half, largest);
            }
            words.v[i] = Isa::truncate(value[0], value[1]);
        }
        storeWords<To>(out, words);
    }
}

// --- Kernels ---

constexpr std::int32_t kBelowIntInCopies = -2147483646;
constexpr std::int32_t kBelowIntInMappings = INT32_MIN;

template <class To, class From>
inline void convertStride(unsigned char* out, const unsigned char* in) {
    if constexpr (isHalf<To> && isHalf<From>)
        storeHalves<To, From>(out, loadHalves<From>(in));
    else if constexpr (isSame<To, double> || (isSame<From, double> && !isSame<To, float>))
        storeDoubles<To>(out, loadDoubles<From>(in));
    else if constexpr (isSame<To, float> || isSame<From, float>)
        storeFloats<To>(out, loadFloats<From>(in), kBelowIntInCopies);
    else
        storeWords<To>(out, loadWords<From>(in));
}

template <class To, class From>
std::size_t convert(void* to, const void* from, std::size_t count) {
    auto* const out = static_cast<unsigned char*>(to);
    const auto* const in = static_cast<const unsigned char*>(from);
    std::size_t i = 0;
    for (; i + kStride <= count; i += kStride)
        convertStride<To, From>(out + i * sizeof(To), in + i * sizeof(From));
    return i;
}

template <class To, class From>
std::size_t map(void* to, const void* from, std::size_t count, double offset, double scale) {
    auto* out = static_cast<unsigned char*>(to);
    const auto* in = static_cast<const unsigned char*>(from);
    const Isa::Float singleOffset = Isa::all(static_cast<float>(offset));
    const Isa::Float singleScale = Isa::all(static_cast<float>(scale));
    constexpr bool isRounded = !isSame<To, double>;
    const Isa::Double wideOffset =
        Isa::all(isRounded ? double{static_cast<float>(offset)} : offset);
    const Isa::Double wideScale = Isa::all(isRounded ? double{static_cast<float>(scale)} : scale);
    std::size_t i = 0;
    for (; i + kStride <= count; i += kStride) {
        constexpr bool inDoubles =
            isSame<To, double> || (isSame<From, double> && !isSame<To, float>);
        if constexpr (inDoubles) {
            Doubles doubles = loadDoubles<From>(in);
            for (Isa::Double& value : doubles.v)
                value = Isa::multiply(Isa::add(value, wideOffset), wideScale);
            if constexpr (isHalf<To>) {
                Floats floats;
                for (std::size_t k = 0; k < 4; ++k)
                    floats.v[k] = Isa::toFloats(doubles.v[2 * k], doubles.v[2 * k + 1]);
                storeFloats<To>(out, floats, kBelowIntInMappings);
            } else {
                storeDoubles<To>(out, doubles);
            }
        } else {
            Floats floats = loadFloats<From>(in);
            for (Isa::Float& value : floats.v)
                value = Isa::multiply(Isa::add(value, singleOffset), singleScale);
            storeFloats<To>(out, floats, kBelowIntInMappings);
        }
        out += kStride * sizeof(To);
        in += kStride * sizeof(From);
    }
    return i;
}

// Asks for what lies two kilobytes ahead: so much is under way then that memory delivers at its
// full rate, also across the ends of pages. Addresses beyond the array do no harm.
inline void prefetchStride(const unsigned char* in, std::size_t bytes) {
    const auto from = reinterpret_cast<std::uintptr_t>(in) + 2048;
    for (std::size_t i = 0; i < bytes; i += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(from + i));
}

/// Four vectors of elements at a time, each with bounds of its own.
template <class T>
std::size_t widen(const void* data, std::size_t count, Range& range) {
    using Lanes = VectorOf<T>;
    using Vector = typename Lanes::Vector;
    constexpr std::size_t kElements = sizeof(Vector) / sizeof(T);
    const auto* const in = static_cast<const unsigned char*>(data);
    if (count < 4 * kElements)
        return 0;
    Vector least[4];
    Vector largest[4];
    for (std::size_t k = 0; k < 4; ++k) {
        least[k] = Lanes::all(static_cast<T>(range.least));
        largest[k] = Lanes::all(static_cast<T>(range.largest));
    }
    std::size_t i = 0;
    for (; i + 4 * kElements <= count; i += 4 * kElements) {
        const unsigned char* const stride = in + i * sizeof(T);
        prefetchStride(stride, 4 * sizeof(Vector));
        for (std::size_t k = 0; k < 4; ++k) {
            const Vector value = Lanes::load(stride + k * sizeof(Vector));
            least[k] = Lanes::lesser(value, least[k]);
            largest[k] = Lanes::larger(value, largest[k]);
        }
    }
    for (std::size_t k = 1; k < 4; ++k) {
        least[0] = Lanes::lesser(least[k], least[0]);
        largest[0] = Lanes::larger(largest[k], largest[0]);
    }
    T lows[kElements];
    T highs[kElements];
    __builtin_memcpy(lows, &least[0], sizeof lows);
    __builtin_memcpy(highs, &largest[0], sizeof highs);
    for (std::size_t k = 0; k < kElements; ++k) {
        range.least =
            static_cast<double>(lows[k]) < range.least ? static_cast<double>(lows[k]) : range.least;
        range.largest = static_cast<double>(highs[k]) > range.largest
                            ? static_cast<double>(highs[k])
                            : range.largest;
    }
    return i;
}

template <class T>
std::size_t countEqual(const void* value, const void* data, std::size_t count) {
    using Lanes = VectorOf<T>;
    using Vector = typename Lanes::Vector;
    constexpr std::size_t kElements = sizeof(Vector) / sizeof(T);
    const auto* const in = static_cast<const unsigned char*>(data);
    T element;
    __builtin_memcpy(&element, value, sizeof element);
    const Vector first = Lanes::all(element);
    std::size_t i = 0;
    for (; i + 4 * kElements <= count; i += 4 * kElements) {
        const unsigned char* const stride = in + i * sizeof(T);
        prefetchStride(stride, 4 * sizeof(Vector));
        Isa::Int equal = Lanes::equal(Lanes::load(stride), first);
        for (std::size_t k = 1; k < 4; ++k)
            equal = Isa::both(equal, Lanes::equal(Lanes::load(stride + k * sizeof(Vector)), first));
        if (!Isa::isAll(equal))
            break;
    }
    return i;
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
            Isa::store(out + at, Isa::template reverseBytes<size>(Isa::load(in + at)));
        }
    return i;
}

std::size_t stream(void* to, const void* from, std::size_t bytes) {
    auto* const out = static_cast<unsigned char*>(to);
    const auto* const in = static_cast<const unsigned char*>(from);
    std::size_t i = 0;
    for (; i + 64 <= bytes; i += 64)
        for (std::size_t k = 0; k < 64; k += kVector)
            Isa::streamTo(out + i + k, Isa::load(in + i + k));
    return i;
}
