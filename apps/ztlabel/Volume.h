// The volume that is labelled: its voxels in memory, as one of the types that the library labels.
#pragma once

#include "VolumeHeader.h"

#include <ztlib/ZtMemory.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtTypedPointer.h>

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>

class ZtProgressInterface;

namespace ztlabel {

struct ZtFree {
    void operator()(void* block) const { ztfree(block); }
};
/// A block of the library's allocator: large ones may come as huge pages.
using Block = std::unique_ptr<void, ZtFree>;

/// Allocates room for `count` elements; throws ZtMemoryException.
inline Block allocate(std::size_t count, std::size_t elementSize) {
    return Block(ztmalloc(count * elementSize));
}

/// Voxels with their geometry. What a voxel stands for, its scaled value, is slope x stored value +
/// intercept; stored values are in the order of scaled ones (see `read`).
class Volume {
public:
    /// Reads the voxels that `header` declares, in this machine's byte order. Element types that
    /// the library labels are kept; others are converted to one that holds all their values (64-bit
    /// integers beyond 2^53 are rounded). Where the slope is negative the stored values are
    /// mirrored, so that "at or above" means the same for stored and for scaled values. Throws
    /// Failure when the file does not hold the voxels or the memory does not suffice.
    static Volume read(NiftiHeader header, ZtProgressInterface& progress);

    const nifti_image& header() const { return *header_; }
    const int* dims() const { return dims_; }
    int dim(int axis) const { return dims_[axis]; }
    std::size_t voxelCount() const { return voxelCount_; }
    bool is2D() const { return dims_[2] == 1; }

    ZtPrimType type() const { return type_; }
    ZtTypedPointer voxels() const { return {voxels_.get(), type_}; }
    /// False when converting rounded some values, so that different ones may have become equal.
    bool isExact() const { return exact_; }
    /// Says that and to what the voxels were converted; empty when they were not.
    const std::string& conversion() const { return conversion_; }

    bool isScaled() const { return slope_ != 1 || intercept_ != 0; }
    double slope() const { return slope_; }
    double intercept() const { return intercept_; }
    /// The scaled value of a stored one, rounded as slope x value + intercept is in double
    /// precision.
    template <class T>
    double scaled(T stored) const {
        return slope_ * static_cast<double>(mirrored_ ? mirrorOf(stored) : stored) + intercept_;
    }

    /// Calls f with the voxels as a pointer to their type.
    template <class F>
    auto visit(F f) const {
        void* const p = voxels_.get();
        switch (type_.getType()) {
            case ZtPrimType::SHORT:
                return f(static_cast<short*>(p));
            case ZtPrimType::USHORT:
                return f(static_cast<unsigned short*>(p));
            case ZtPrimType::INT:
                return f(static_cast<int*>(p));
            case ZtPrimType::FLOAT:
                return f(static_cast<float*>(p));
            case ZtPrimType::DOUBLE:
                return f(static_cast<double*>(p));
            default:
                return f(static_cast<unsigned char*>(p));
        }
    }

    /// Reverses the order of the type's values, one to one: ~v for integers, -v for numbers with a
    /// fraction.
    template <class T>
    static T mirrorOf(T value) {
        if constexpr (std::is_integral_v<T>)
            return static_cast<T>(~value);
        else
            return -value;
    }

private:
    Volume() = default;

    void readVoxels(ZtProgressInterface& progress);
    void convert();
    template <class From, class To>
    void convertTo();

    NiftiHeader header_;
    int dims_[3] = {};
    std::size_t voxelCount_ = 0;
    ZtPrimType type_;
    Block voxels_;
    double slope_ = 1;
    double intercept_ = 0;
    bool mirrored_ = false;
    bool exact_ = true;
    std::string conversion_;
};

}  // namespace ztlabel
