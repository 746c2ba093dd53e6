// Strided layouts of bytes, and the copy from one to another.
#include <ztlib/ZtBytePattern.h>
#include <ztlib/ZtContract.h>

#include <algorithm>
#include <climits>
#include <cstring>

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

void ztmemcpy(void* target, const ZtBytePattern& targetPattern, const void* source,
              const ZtBytePattern& sourcePattern) {
    BytePatternIterator to(targetPattern);
    BytePatternIterator from(sourcePattern);
    const std::ptrdiff_t toStride = targetPattern.strides[0];
    const std::ptrdiff_t fromStride = sourcePattern.strides[0];
    while (!to.isFinished() && !from.isFinished()) {
        unsigned char* const out = static_cast<unsigned char*>(target) + to.offset();
        const unsigned char* const in = static_cast<const unsigned char*>(source) + from.offset();
        const int steps = std::min(to.stepsLeft(), from.stepsLeft());
        if (toStride == 1 && fromStride == 1) {
            std::memmove(out, in, static_cast<std::size_t>(steps));
        } else {
            for (std::ptrdiff_t i = 0; i < steps; ++i)
                out[i * toStride] = in[i * fromStride];
        }
        to.advance(steps);
        from.advance(steps);
    }
}
