// Strided layouts of bytes, and the copy from one to another.
#include <ztlib/ZtBytePattern.h>
#include <ztlib/ZtContract.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <type_traits>

ZtBytePattern::ZtBytePattern(int n, const int* sizes, const int* byteStrides)
    : counts{}, strides{}, nLevels(1) {
    if (n < 1)
        return;
    counts[0] = sizes[0];
    strides[0] = byteStrides[0];
    int last = 0;
    for (int i = 1; i < n; ++i) {
        const bool continues =
            static_cast<long long>(counts[last]) * strides[last] == byteStrides[i];
        const long long joined = static_cast<long long>(counts[last]) * sizes[i];
        // A level of its own also where the joined one could not be counted.
        if (continues && joined == static_cast<int>(joined)) {
            counts[last] = static_cast<int>(joined);
            continue;
        }
        if (++last == kMaxLevels)
            break;
        counts[last] = sizes[i];
        strides[last] = byteStrides[i];
    }
    nLevels = std::min(last + 1, kMaxLevels);
}

void BytePatternIterator::reset() {
    std::fill_n(positions_, ZtBytePattern::kMaxLevels, 0);
    offset_ = 0;
    lastStep_ = 0;
    const int* const counts = pattern_->counts;
    isEmpty_ = std::any_of(counts, counts + pattern_->nLevels, [](int n) { return n < 1; });
}

bool BytePatternIterator::isFinished() const {
    const int outermost = pattern_->nLevels - 1;
    return isEmpty_ || positions_[outermost] >= pattern_->counts[outermost];
}

void BytePatternIterator::seek(long long k) {
    ZT_REQUIRE(k >= 0);
    reset();
    if (isEmpty_ || k < 0)
        return;
    // The bytes that one step of each level spans, up to the level that reaches k.
    long long spans[ZtBytePattern::kMaxLevels] = {1};
    int level = 0;
    while (level + 1 < pattern_->nLevels && spans[level] <= k / pattern_->counts[level]) {
        spans[level + 1] = spans[level] * pattern_->counts[level];
        ++level;
    }
    for (; level >= 0; --level) {
        // Only the outermost level can be passed; by how much does not matter.
        positions_[level] = static_cast<int>(std::min<long long>(k / spans[level], INT_MAX));
        k %= spans[level];
        offset_ += static_cast<std::ptrdiff_t>(positions_[level]) * pattern_->strides[level];
    }
}

void BytePatternIterator::advance(int steps) {
    ZT_REQUIRE(0 <= steps && steps <= stepsLeft());
    const int* const counts = pattern_->counts;
    const int* const strides = pattern_->strides;
    positions_[0] += steps;
    lastStep_ = static_cast<std::ptrdiff_t>(strides[0]) * steps;
    for (int level = 1; level < pattern_->nLevels && positions_[level - 1] >= counts[level - 1];
         ++level) {
        ++positions_[level];
        lastStep_ +=
            strides[level] - static_cast<std::ptrdiff_t>(counts[level - 1]) * strides[level - 1];
        if (positions_[level] < counts[level])
            std::fill_n(positions_, level, 0);
    }
    offset_ += lastStep_;
}

namespace {

/// Copies as many bytes as both innermost levels have side by side; `Size` is that of the elements
/// that the steps count, 0 for runs of bytes.
template <std::size_t Size>
void copySteps(unsigned char* out, const unsigned char* in, std::ptrdiff_t steps,
               std::ptrdiff_t outStride, std::ptrdiff_t inStride) {
    if constexpr (Size == 0)
        std::memmove(out, in, static_cast<std::size_t>(steps));
    else
        for (std::ptrdiff_t i = 0; i < steps; ++i)
            std::memcpy(out + i * outStride, in + i * inStride, Size);
}

template <std::size_t Size>
void copyAlong(unsigned char* target, const ZtBytePattern& targetPattern,
               const unsigned char* source, const ZtBytePattern& sourcePattern) {
    BytePatternIterator to(targetPattern);
    BytePatternIterator from(sourcePattern);
    while (!to.isFinished() && !from.isFinished()) {
        const int steps = std::min(to.stepsLeft(), from.stepsLeft());
        copySteps<Size>(target + to.offset(), source + from.offset(), steps,
                        targetPattern.strides[0], sourcePattern.strides[0]);
        to.advance(steps);
        from.advance(steps);
    }
}

/// The size of the elements of which the runs of both patterns consist, 0 if that is no small power
/// of 2.
int elementSize(const ZtBytePattern& a, const ZtBytePattern& b) {
    if (a.strides[0] != 1 || b.strides[0] != 1)
        return 1;
    const int size = std::min(a.counts[0], b.counts[0]);
    const bool isPowerOf2 = size >= 2 && size <= 16 && (size & (size - 1)) == 0;
    return isPowerOf2 && std::max(a.counts[0], b.counts[0]) % size == 0 ? size : 0;
}

/// The same bytes with elements of `size` bytes as the steps of the innermost level.
ZtBytePattern inElements(ZtBytePattern pattern, int size) {
    if (pattern.counts[0] > size || pattern.nLevels == 1) {
        pattern.counts[0] /= size;
        pattern.strides[0] = size;
    } else {
        --pattern.nLevels;
        std::copy_n(pattern.counts + 1, pattern.nLevels, pattern.counts);
        std::copy_n(pattern.strides + 1, pattern.nLevels, pattern.strides);
    }
    return pattern;
}

}  // namespace

void ztmemcpy(void* target, const ZtBytePattern& targetPattern, const void* source,
              const ZtBytePattern& sourcePattern) {
    auto* const to = static_cast<unsigned char*>(target);
    const auto* const from = static_cast<const unsigned char*>(source);
    const int size = elementSize(targetPattern, sourcePattern);
    // Elements of selections with steps between them are as common as rows, and too short for a
    // call each.
    const auto copyElements = [=, &targetPattern, &sourcePattern](auto constant) {
        copyAlong<constant>(to, inElements(targetPattern, constant), from,
                            inElements(sourcePattern, constant));
    };
    switch (size) {
        case 0:
            return copyAlong<0>(to, targetPattern, from, sourcePattern);
        case 1:
            return copyAlong<1>(to, targetPattern, from, sourcePattern);
        case 2:
            return copyElements(std::integral_constant<int, 2>());
        case 4:
            return copyElements(std::integral_constant<int, 4>());
        case 8:
            return copyElements(std::integral_constant<int, 8>());
        default:
            return copyElements(std::integral_constant<int, 16>());
    }
}
