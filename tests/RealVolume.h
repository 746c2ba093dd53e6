// Reads the volumes of Debian's mricron-data.
#pragma once

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

struct RealVolume {
    int dims[3] = {0, 0, 0};
    std::vector<unsigned char> voxels;
};

inline const std::string kRealVolumes = "/usr/share/mricron/templates/";

/// Reads a compressed NIfTI-1 volume of bytes; empty when it is missing.
inline RealVolume readRealVolume(const std::string& name) {
    RealVolume volume;
    gzFile file = gzopen((kRealVolumes + name).c_str(), "rb");
    if (!file)
        return volume;
    unsigned char header[352];
    if (gzread(file, header, sizeof header) == static_cast<int>(sizeof header)) {
        short dims[3];
        float offset;
        std::memcpy(dims, header + 42, sizeof dims);
        std::memcpy(&offset, header + 108, sizeof offset);
        std::copy(dims, dims + 3, volume.dims);
        volume.voxels.resize(static_cast<std::size_t>(dims[0]) * static_cast<std::size_t>(dims[1]) *
                             static_cast<std::size_t>(dims[2]));
        gzseek(file, static_cast<z_off_t>(offset), SEEK_SET);
        gzread(file, volume.voxels.data(), static_cast<unsigned>(volume.voxels.size()));
    }
    gzclose(file);
    return volume;
}
