// The labels of a volume, 16 or 32 bits wide.
#pragma once

#include "Volume.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace ztlabel {

/// One label per voxel, 0 for background, as unsigned short or, when wide, as int.
class LabelVolume {
public:
    LabelVolume(std::size_t voxelCount, bool wide)
        : voxelCount_(voxelCount), wide_(wide), labels_(allocate(voxelCount, wide ? 4 : 2)) {}
    /// Adopts labels from the library.
    LabelVolume(std::size_t voxelCount, unsigned short* labels)
        : voxelCount_(voxelCount), wide_(false), labels_(labels) {}
    LabelVolume(std::size_t voxelCount, int* labels)
        : voxelCount_(voxelCount), wide_(true), labels_(labels) {}

    std::size_t voxelCount() const { return voxelCount_; }
    bool isWide() const { return wide_; }
    const void* data() const { return labels_.get(); }
    std::size_t sizeInBytes() const { return voxelCount_ * (wide_ ? 4 : 2); }

    /// The labels; expects that they are not wide, or that they are.
    unsigned short* narrow() const { return static_cast<unsigned short*>(labels_.get()); }
    int* wide() const { return static_cast<int*>(labels_.get()); }

    /// Calls f with the labels as a pointer to their type.
    template <class F>
    auto visit(F f) const {
        return wide_ ? f(wide()) : f(narrow());
    }

    /// Makes wide labels 16 bits wide. Expects that they fit.
    void makeNarrow() {
        LabelVolume narrowed(voxelCount_, false);
        std::transform(wide(), wide() + voxelCount_, narrowed.narrow(),
                       [](int label) { return static_cast<unsigned short>(label); });
        *this = std::move(narrowed);
    }

private:
    std::size_t voxelCount_;
    bool wide_;
    Block labels_;
};

}  // namespace ztlabel
