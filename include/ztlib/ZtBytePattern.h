// Strided layouts of bytes, and the copy from one to another.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>

/// Says which bytes of a block are meant: nested levels of (count, stride), the innermost first, as
/// a selection in an array of any number of dimensions needs them. The innermost level counts
/// bytes. A pattern with a count below 1 at any level holds no byte.
class ZTLIB_API ZtBytePattern {
public:
    /// How many loops a pattern may nest.
    static constexpr int kMaxLevels = 8;

    /// Describes `n` dimensions, the innermost first, with their sizes and the distances of their
    /// steps in bytes. Dimensions that continue each other share a level. No dimensions give an
    /// empty pattern; those that need more than eight levels are left out.
    ZtBytePattern(int n, const int* sizes, const int* strides);

    int counts[kMaxLevels];   ///< Steps at each level.
    int strides[kMaxLevels];  ///< Bytes from one step of a level to the next.
    int nLevels;              ///< Levels in use, 1 to 8.
};

/// Walks through the bytes of a pattern in its order, which must outlive it unchanged.
class ZTLIB_API BytePatternIterator {
public:
    /// Starts at the first byte. The pattern is looked at, not copied.
    explicit BytePatternIterator(const ZtBytePattern& pattern) : pattern_(&pattern) { reset(); }

    /// Goes to the first byte.
    void reset();

    /// Goes to byte number `k` >= 0 in the pattern's order; the walk is finished if there is none.
    void seek(long long k);

    /// Returns how many bytes lie side by side from here on; 1 if the innermost stride is not 1.
    int runLength() const { return pattern_->strides[0] == 1 ? stepsLeft() : 1; }

    /// Returns how many steps the innermost level has left, this one included.
    int stepsLeft() const { return pattern_->counts[0] - positions_[0]; }

    /// Goes `steps` steps on; expects 0 <= steps <= stepsLeft().
    void advance(int steps);

    /// Whether the walk has passed the last byte.
    bool isFinished() const;

    /// Returns the distance in bytes from the start of the block.
    std::ptrdiff_t offset() const { return offset_; }

    /// Returns the distance in bytes that the last `advance` covered.
    std::ptrdiff_t lastStep() const { return lastStep_; }

private:
    const ZtBytePattern* pattern_;
    int positions_[ZtBytePattern::kMaxLevels];
    std::ptrdiff_t offset_;
    std::ptrdiff_t lastStep_;
    bool isEmpty_;
};

/// Copies the bytes of the source's pattern, in its order, to those of the target's, until one of
/// the two ends. Expects that the bytes read and the bytes written are not the same ones. Bytes
/// that lie side by side in both are copied as blocks.
ZTLIB_API void ztmemcpy(void* target, const ZtBytePattern& targetPattern, const void* source,
                        const ZtBytePattern& sourcePattern);
