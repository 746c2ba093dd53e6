#include "VolumeHeader.h"

#include "ByteSource.h"
#include "Failure.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>

namespace ztlabel {

namespace {

namespace fs = std::filesystem;

/// The fields that are checked, from either version of the header, in this machine's byte order.
struct RawHeader {
    int64_t dim[8] = {};
    int datatype = 0;
    double voxelOffset = 0;
    int version = 1;
    bool isSingleFile = false;
};

template <class Header>
RawHeader fieldsOf(const Header& header) {
    RawHeader raw;
    std::copy(std::begin(header.dim), std::end(header.dim), raw.dim);
    raw.datatype = header.datatype;
    raw.voxelOffset = static_cast<double>(header.vox_offset);
    raw.version = sizeof(header) == sizeof(nifti_2_header) ? 2 : 1;
    raw.isSingleFile = header.magic[0] == 'n' && header.magic[1] == '+';
    return raw;
}

template <class Header>
RawHeader parse(const char* bytes, int version) {
    Header header;
    std::memcpy(&header, bytes, sizeof(header));
    if (header.sizeof_hdr != static_cast<int>(sizeof(header)))
        swap_nifti_header(&header, version);
    return fieldsOf(header);
}

std::string headerFileName(const std::string& path) {
    std::error_code error;
    if (fs::is_directory(path, error))
        throw Failure("'" + path + "' is a directory, not a volume");
    char* const name = nifti_findhdrname(path.c_str());
    std::string found = name == nullptr ? "" : name;
    std::free(name);
    if (!found.empty())
        return found;
    if (fs::exists(path, error))
        throw Failure("'" + path +
                      "' is not a volume: its name does not end in .nii, .nii.gz, "
                      ".hdr or .img");
    throw Failure("'" + path + "': no such file");
}

RawHeader readRawHeader(const std::string& name) {
    char bytes[std::max(sizeof(nifti_1_header), sizeof(nifti_2_header))] = {};
    ByteSource source(name);
    const std::size_t count = source.read(bytes, sizeof(bytes));
    if (count < sizeof(nifti_1_header))
        throw Failure("'" + name + "' is not a volume: " + std::to_string(count) +
                      " bytes are too few for a NIfTI header");
    if (bytes[0] == '\x1f' && bytes[1] == '\x8b')
        throw Failure("'" + name + "' is gzip-compressed, but its name does not end in .gz");
    const int version = nifti_header_version(bytes, count);
    if (version == 2 && count == sizeof(nifti_2_header))
        return parse<nifti_2_header>(bytes, version);
    if (version == 0 || version == 1)
        return parse<nifti_1_header>(bytes, 1);
    throw Failure("'" + name + "' is not a volume: it has no NIfTI header");
}

void checkRawHeader(const RawHeader& raw, const std::string& name) {
    const std::string damaged = "'" + name + "' is not a volume: its header is damaged (";
    if (raw.dim[0] < 1 || raw.dim[0] > 7)
        throw Failure(damaged + std::to_string(raw.dim[0]) + " dimensions)");
    for (int d = 1; d <= raw.dim[0]; ++d)
        if (raw.dim[d] < 1)
            throw Failure(damaged + "dimension " + std::to_string(d) + " is " +
                          std::to_string(raw.dim[d]) + ")");
    if (!nifti_is_valid_datatype(raw.datatype))
        throw Failure(damaged + "voxels of the unknown type " + std::to_string(raw.datatype) + ")");
    if (!(raw.voxelOffset >= 0) || raw.voxelOffset > 9e15 ||
        (raw.isSingleFile && raw.voxelOffset > static_cast<double>(ByteSource::capacity(name))))
        throw Failure(damaged + "the voxels would start at byte " +
                      std::to_string(raw.voxelOffset) + ")");
}

void checkVoxelType(int datatype, const std::string& name) {
    switch (datatype) {
        case NIFTI_TYPE_COMPLEX64:
        case NIFTI_TYPE_COMPLEX128:
        case NIFTI_TYPE_COMPLEX256:
            throw Failure("'" + name + "' has complex voxels (" + voxelTypeName(datatype) +
                          "), which have no order: take their magnitude first");
        case NIFTI_TYPE_RGB24:
        case NIFTI_TYPE_RGBA32:
            throw Failure("'" + name + "' has colour voxels (" + voxelTypeName(datatype) +
                          "), which have no order: take one channel first");
        case NIFTI_TYPE_FLOAT128:
            throw Failure("'" + name +
                          "' has 128-bit floating-point voxels, whose layout differs "
                          "between machines: convert them to float64 first");
        default:
            break;
    }
}

void checkDimensions(const RawHeader& raw, const std::string& name) {
    int64_t last = 3;
    for (int64_t d = 4; d <= raw.dim[0]; ++d)
        if (raw.dim[d] > 1)
            last = d;
    if (last > 3) {
        std::string size = std::to_string(raw.dim[1]);
        for (int64_t d = 2; d <= last; ++d)
            size += " x " + std::to_string(raw.dim[d]);
        throw Failure("'" + name + "' is " + std::to_string(last) + "-D (" + size +
                      "): take one 3-D volume out of it first");
    }
}

void checkFileSize(const nifti_image& header) {
    const std::string image = header.iname == nullptr ? "" : header.iname;
    std::error_code error;
    if (!fs::exists(image, error))
        throw Failure("'" + std::string(header.fname) + "' has no image file '" + image + "'");
    // In floating point, as what a header declares may exceed all integers.
    const double voxels = static_cast<double>(header.nx) * static_cast<double>(header.ny) *
                          static_cast<double>(header.nz);
    const double needed = voxels * header.nbyper;
    const auto offset = static_cast<double>(header.iname_offset);
    if (offset + needed > static_cast<double>(ByteSource::capacity(image)))
        throw Failure("'" + image + "' is truncated or its header is wrong: it declares " +
                      sizeText(header) + " voxels of " + voxelTypeName(header.datatype) +
                      ", but the file has " + std::to_string(fs::file_size(image, error)) +
                      " bytes");
}

void checkVoxelCount(const nifti_image& header) {
    constexpr int64_t kMostVoxels = 0xffffffff;  // the library counts voxels in 32 bits
    if (header.nx > INT32_MAX || header.ny > INT32_MAX || header.nz > INT32_MAX ||
        header.nvox > kMostVoxels)
        throw Failure("'" + std::string(header.fname) + "' has " + sizeText(header) +
                      " voxels; at most 4294967295 can be labelled");
}

}  // namespace

NiftiHeader readVolumeHeader(const std::string& path) {
    nifti_set_debug_level(0);
    const std::string name = headerFileName(path);
    const RawHeader raw = readRawHeader(name);
    checkRawHeader(raw, name);
    checkVoxelType(raw.datatype, name);

    NiftiHeader header(nifti_image_read(name.c_str(), 0));
    if (!header)
        throw Failure("'" + name + "' is not a volume: its NIfTI header cannot be read");
    if (raw.version == 2)  // which the library leaves out
        header->nifti_type = raw.isSingleFile ? NIFTI_FTYPE_NIFTI2_1 : NIFTI_FTYPE_NIFTI2_2;
    checkDimensions(raw, name);
    checkFileSize(*header);
    checkVoxelCount(*header);
    return header;
}

std::string sizeText(const nifti_image& header) {
    return std::to_string(header.nx) + " x " + std::to_string(header.ny) + " x " +
           std::to_string(header.nz);
}

std::string voxelTypeName(int datatype) {
    std::string name = nifti_datatype_to_string(datatype);
    name = name.substr(name.rfind('_') + 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name;
}

}  // namespace ztlabel
