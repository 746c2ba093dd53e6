// The loops over bit words. Each is written once, on vectors of 256 bits; the compiler makes it for
// several instruction sets and the loader picks the one that the processor has.
#include "core/BitKernels.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "core/WideTargets.h"

namespace bitkernels {

namespace {

// Vectors are handed over by reference only: passing them by value differs between instruction
// sets.
using Lanes = std::uint64_t __attribute__((vector_size(32)));

constexpr std::size_t kLaneWords = sizeof(Lanes) / sizeof(unsigned);

// What the loops look at before they branch.
constexpr std::size_t kStride = 8 * kLaneWords;

inline void load(const unsigned* from, Lanes& to) {
    std::memcpy(&to, from, sizeof to);
}

inline void store(const Lanes& from, unsigned* to) {
    std::memcpy(to, &from, sizeof from);
}

constexpr std::uintptr_t kCacheLine = 64;

// How many words lie before the next cache line.
inline std::size_t wordsToCacheLine(const unsigned* words) {
    return (0 - reinterpret_cast<std::uintptr_t>(words)) % kCacheLine / sizeof(unsigned);
}

// Asks for the stride that lies `ahead` bytes farther: so much is under way then that memory
// delivers at its full rate, also across the ends of pages, where the processor's own look-ahead
// stops. Addresses beyond the array do no harm.
constexpr std::intptr_t kAhead = 2048;

inline void prefetch(const unsigned* stride, std::intptr_t ahead = kAhead) {
    const auto from = reinterpret_cast<std::uintptr_t>(stride) + static_cast<std::uintptr_t>(ahead);
    for (std::uintptr_t i = 0; i < kStride * sizeof(unsigned); i += kCacheLine)
        __builtin_prefetch(reinterpret_cast<const void*>(from + i));
}

inline bool isZero(const Lanes& lanes) {
    return (lanes[0] | lanes[1] | lanes[2] | lanes[3]) == 0;
}

inline std::size_t sumOf(const Lanes& lanes) {
    return static_cast<std::size_t>(lanes[0] + lanes[1] + lanes[2] + lanes[3]);
}

// Adds bit columns: what is set in `low`, `a` and `b` leaves its sum in `low` and its carry in
// `high`.
inline void addColumns(const Lanes& a, const Lanes& b, Lanes& low, Lanes& high) {
    const Lanes either = low ^ a;
    high = (low & a) | (either & b);
    low = either ^ b;
}

// Adds the number of set bits of each 64-bit lane to `sums`.
inline void addPopulation(const Lanes& lanes, Lanes& sums) {
    Lanes bits = lanes - (lanes >> 1 & 0x5555555555555555u);
    bits = (bits & 0x3333333333333333u) + (bits >> 2 & 0x3333333333333333u);
    bits = (bits + (bits >> 4)) & 0x0f0f0f0f0f0f0f0fu;
    bits += bits >> 8;
    bits += bits >> 16;
    bits += bits >> 32;
    sums += bits & 0x7fu;
}

// Adds sixteen vectors to the bit columns `column[0]` (ones) to `column[3]` (eights); `sixteens`
// receives the carries.
inline void addSixteen(const unsigned* words, Lanes (&column)[4], Lanes& sixteens) {
    Lanes eights[2];
    for (int half = 0; half < 2; ++half) {
        Lanes fours[2];
        for (int quarter = 0; quarter < 2; ++quarter) {
            Lanes twos[2];
            for (int pair = 0; pair < 2; ++pair) {
                Lanes a;
                Lanes b;
                load(words, a);
                load(words + kLaneWords, b);
                addColumns(a, b, column[0], twos[pair]);
                words += 2 * kLaneWords;
            }
            addColumns(twos[0], twos[1], column[1], fours[quarter]);
        }
        addColumns(fours[0], fours[1], column[2], eights[half]);
    }
    addColumns(eights[0], eights[1], column[3], sixteens);
}

// Whether `operation`, which ors its result of two vectors or words to its third argument, leaves a
// bit for any of them.
template <class Operation>
[[gnu::always_inline]] inline bool anyBit(const unsigned* a, const unsigned* b, std::size_t count,
                                          Operation operation) {
    std::size_t i = 0;
    for (; i + kStride <= count; i += kStride) {
        prefetch(a + i);
        prefetch(b + i);
        Lanes found = {};
        for (std::size_t k = i; k < i + kStride; k += kLaneWords) {
            Lanes left;
            Lanes right;
            load(a + k, left);
            load(b + k, right);
            operation(left, right, found);
        }
        if (!isZero(found))
            return true;
    }
    unsigned found = 0;
    for (; i < count; ++i)
        operation(a[i], b[i], found);
    return found != 0;
}

// Applies `operation`, which changes its first argument, to the vectors and words of two arrays.
template <class Operation>
[[gnu::always_inline]] inline void combine(unsigned* to, const unsigned* from, std::size_t count,
                                           Operation operation) {
    std::size_t i = 0;
    // Stores that straddle cache lines cost a fifth of the speed.
    for (const std::size_t head = std::min(count, wordsToCacheLine(to)); i < head; ++i)
        operation(to[i], from[i]);
    for (; i + kStride <= count; i += kStride)
        for (std::size_t k = i; k < i + kStride; k += kLaneWords) {
            Lanes left;
            Lanes right;
            load(to + k, left);
            load(from + k, right);
            operation(left, right);
            store(left, to + k);
        }
    for (; i < count; ++i)
        operation(to[i], from[i]);
}

#if defined(ZT_HAS_WIDE)
// For processors that count the bits of whole vectors by an instruction.
[[gnu::target("avx512f,avx512vpopcntdq,popcnt,prefer-vector-width=512")]] std::size_t
countByInstruction(const unsigned* words, std::size_t count) {
    std::uint64_t total = 0;
    std::size_t i = 0;
    for (; i + 2 <= count; i += 2) {
        std::uint64_t pair;
        std::memcpy(&pair, words + i, sizeof pair);
        total += static_cast<std::uint64_t>(std::popcount(pair));
    }
    if (i < count)
        total += static_cast<std::uint64_t>(std::popcount(words[i]));
    return static_cast<std::size_t>(total);
}
#endif

// Carry-save addition of bit columns (Harley and Seal): one population count serves sixteen
// vectors.
ZT_WIDE std::size_t countByColumns(const unsigned* words, std::size_t count) {
    constexpr std::size_t kSixteen = 16 * kLaneWords;
    std::size_t i = 0;
    Lanes sums = {};
    if (count >= kSixteen) {
        Lanes column[4] = {};
        for (; i + kSixteen <= count; i += kSixteen) {
            Lanes sixteens;
            prefetch(words + i);
            prefetch(words + i + kStride);
            addSixteen(words + i, column, sixteens);
            addPopulation(sixteens, sums);
        }
        for (int weight = 3; weight >= 0; --weight) {
            sums += sums;
            addPopulation(column[weight], sums);
        }
    }
    for (; i + kLaneWords <= count; i += kLaneWords) {
        Lanes bits;
        load(words + i, bits);
        addPopulation(bits, sums);
    }
    std::size_t total = sumOf(sums);
    for (; i < count; ++i)
        total += static_cast<std::size_t>(std::popcount(words[i]));
    return total;
}

}  // namespace

std::size_t countSetBits(const unsigned* words, std::size_t count) {
#if defined(ZT_HAS_WIDE)
    if (__builtin_cpu_supports("avx512vpopcntdq"))
        return countByInstruction(words, count);
#endif
    return countByColumns(words, count);
}

ZT_WIDE std::size_t firstOtherThan(unsigned value, const unsigned* words, std::size_t count) {
    const Lanes expected = Lanes{} + (std::uint64_t{value} << 32 | value);
    std::size_t i = 0;
    for (; i + kStride <= count; i += kStride) {
        prefetch(words + i);
        Lanes found = {};
        for (std::size_t k = i; k < i + kStride; k += kLaneWords) {
            Lanes lanes;
            load(words + k, lanes);
            found |= lanes ^ expected;
        }
        if (!isZero(found))
            break;
    }
    while (i < count && words[i] == value)
        ++i;
    return i;
}

ZT_WIDE std::size_t lastNonZero(const unsigned* words, std::size_t count) {
    std::size_t end = count;
    for (; end >= kStride; end -= kStride) {
        prefetch(words + end - kStride, -kAhead);
        Lanes found = {};
        for (std::size_t k = end - kStride; k < end; k += kLaneWords) {
            Lanes lanes;
            load(words + k, lanes);
            found |= lanes;
        }
        if (!isZero(found))
            break;
    }
    while (end > 0 && words[end - 1] == 0)
        --end;
    return end > 0 ? end - 1 : count;
}

ZT_WIDE bool haveCommonBit(const unsigned* a, const unsigned* b, std::size_t count) {
    return anyBit(a, b, count, [](const auto& x, const auto& y, auto& found) { found |= x & y; });
}

ZT_WIDE bool contains(const unsigned* outer, const unsigned* inner, std::size_t count) {
    return !anyBit(outer, inner, count,
                   [](const auto& x, const auto& y, auto& found) { found |= y & ~x; });
}

ZT_WIDE void exclusiveOr(unsigned* to, const unsigned* from, std::size_t count) {
    combine(to, from, count, [](auto& x, const auto& y) { x ^= y; });
}

ZT_WIDE void unite(unsigned* to, const unsigned* from, std::size_t count) {
    combine(to, from, count, [](auto& x, const auto& y) { x |= y; });
}

ZT_WIDE void intersect(unsigned* to, const unsigned* from, std::size_t count) {
    combine(to, from, count, [](auto& x, const auto& y) { x &= y; });
}

ZT_WIDE void complement(unsigned* words, std::size_t count) {
    combine(words, words, count, [](auto& x, const auto& y) { x = ~y; });
}

}  // namespace bitkernels
