#include "Volume.h"

#include "ByteSource.h"
#include "Failure.h"
#include "Host.h"

#include <ztlib/ZtProgressInterface.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace ztlabel {

namespace {

void checkMemory(const nifti_image& header, std::size_t voxelCount) {
    constexpr unsigned long long kLabelBytes = 4;
    const auto perVoxel = static_cast<unsigned long long>(std::max(header.nbyper, 1));
    const unsigned long long needed = voxelCount * (perVoxel + kLabelBytes);
    const unsigned long long present = host::memoryBytes();
    if (needed > std::numeric_limits<std::size_t>::max() / 2 || (present != 0 && needed > present))
        throw Failure("'" + std::string(header.fname) + "' has " + sizeText(header) +
                      " voxels, which takes " + std::to_string(needed >> 20) +
                      " MiB of memory; this machine has " + std::to_string(present >> 20));
}

}  // namespace

Volume Volume::read(NiftiHeader header, ZtProgressInterface& progress) {
    Volume volume;
    volume.header_ = std::move(header);
    const nifti_image& h = *volume.header_;
    volume.dims_[0] = static_cast<int>(h.nx);
    volume.dims_[1] = static_cast<int>(h.ny);
    volume.dims_[2] = static_cast<int>(h.nz);
    volume.voxelCount_ = static_cast<std::size_t>(h.nvox);
    if (h.scl_slope != 0) {  // a slope of 0 means: not scaled
        volume.slope_ = h.scl_slope;
        volume.intercept_ = h.scl_inter;
    }
    checkMemory(h, volume.voxelCount_);
    volume.readVoxels(progress);
    volume.convert();
    if (volume.slope_ < 0) {
        volume.mirrored_ = true;
        volume.visit([&](auto* voxels) {
            std::transform(voxels, voxels + volume.voxelCount_, voxels,
                           [](auto v) { return mirrorOf(v); });
        });
    }
    return volume;
}

void Volume::readVoxels(ZtProgressInterface& progress) {
    const nifti_image& h = *header_;
    const std::string file = h.iname;
    const std::size_t size = voxelCount_ * static_cast<std::size_t>(h.nbyper);
    voxels_ = allocate(size, 1);

    ByteSource source(file);
    if (!source.skip(static_cast<unsigned long long>(h.iname_offset)))
        throw Failure("'" + file + "' is truncated: it ends before the voxels");
    constexpr std::size_t kChunk = 1 << 20;
    for (std::size_t done = 0; done < size;) {
        const std::size_t wanted = std::min(kChunk, size - done);
        const std::size_t got = source.read(static_cast<char*>(voxels_.get()) + done, wanted);
        done += got;
        if (got < wanted)
            throw Failure("'" + file + "' is truncated: it has " + std::to_string(done) + " of " +
                          std::to_string(size) + " bytes of voxels");
        progress.setProgressValue(static_cast<float>(done) / static_cast<float>(size));
    }
    source.verifyEnd();
    if (h.swapsize > 1 && h.byteorder != nifti_short_order())
        nifti_swap_Nbytes(static_cast<int64_t>(size / static_cast<std::size_t>(h.swapsize)),
                          h.swapsize, voxels_.get());
}

template <class From, class To>
void Volume::convertTo() {
    Block converted = allocate(voxelCount_, sizeof(To));
    const auto* from = static_cast<const From*>(voxels_.get());
    std::transform(from, from + voxelCount_, static_cast<To*>(converted.get()),
                   [](From v) { return static_cast<To>(v); });
    voxels_ = std::move(converted);
    type_ = ZtPrimType(static_cast<To*>(nullptr));
    conversion_ = voxelTypeName(header_->datatype) + " voxels are converted to " + type_.getName();
    if constexpr (sizeof(From) == 8) {
        constexpr double kLargestExact = 9007199254740992.0;  // 2^53
        const auto* to = static_cast<const To*>(voxels_.get());
        exact_ = std::all_of(to, to + voxelCount_,
                             [](To v) { return v > -kLargestExact && v < kLargestExact; });
        if (!exact_)
            conversion_ += "; values beyond 2^53 are rounded";
    }
}

void Volume::convert() {
    switch (header_->datatype) {
        case NIFTI_TYPE_UINT8:
            type_ = ZtPrimType::BYTE;
            break;
        case NIFTI_TYPE_INT16:
            type_ = ZtPrimType::SHORT;
            break;
        case NIFTI_TYPE_UINT16:
            type_ = ZtPrimType::USHORT;
            break;
        case NIFTI_TYPE_INT32:
            type_ = ZtPrimType::INT;
            break;
        case NIFTI_TYPE_FLOAT32:
            type_ = ZtPrimType::FLOAT;
            break;
        case NIFTI_TYPE_FLOAT64:
            type_ = ZtPrimType::DOUBLE;
            break;
        case NIFTI_TYPE_INT8:
            convertTo<int8_t, short>();
            break;
        case NIFTI_TYPE_UINT32:
            convertTo<uint32_t, double>();
            break;
        case NIFTI_TYPE_INT64:
            convertTo<int64_t, double>();
            break;
        case NIFTI_TYPE_UINT64:
            convertTo<uint64_t, double>();
            break;
        default:
            throw Failure("'" + std::string(header_->fname) + "' has voxels of the type " +
                          voxelTypeName(header_->datatype) + ", which cannot be labelled");
    }
}

}  // namespace ztlabel
