// Reads and checks what a NIfTI file says of itself, before anything of its declared size is
// allocated.
#pragma once

#include <nifti2_io.h>

#include <memory>
#include <string>

namespace ztlabel {

struct NiftiImageFree {
    void operator()(nifti_image* image) const { nifti_image_free(image); }
};
/// A header of the NIfTI library; its voxels (`data`) stay null, the tool keeps them elsewhere.
using NiftiHeader = std::unique_ptr<nifti_image, NiftiImageFree>;

/// Reads the header of a NIfTI-1, NIfTI-2 or Analyze 7.5 volume of either byte order (`.nii`,
/// `.hdr`/`.img`, each also with `.gz`; like the field's tools, it takes a name without ending
/// too). Throws Failure, with one line for the user, unless it is a volume of at most three
/// dimensions with voxels that can be ordered and the file is large enough to hold them.
NiftiHeader readVolumeHeader(const std::string& path);

/// "181 x 217 x 181".
std::string sizeText(const nifti_image& header);

/// The name that the format has for the voxels' type, for example "uint8".
std::string voxelTypeName(int datatype);

}  // namespace ztlabel
