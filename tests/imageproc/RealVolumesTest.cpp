// The labelling of a real brain scan and of a real atlas, against figures counted independently.
#include <gtest/gtest.h>
#include <zlib.h>
#include <ztlib/ZtConnectedComponents.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using namespace ZtConnectedComponents;

namespace {

struct Volume {
    int dims[3] = {0, 0, 0};
    std::vector<unsigned char> voxels;
};

/// Reads a compressed NIfTI-1 volume of bytes from Debian's mricron-data; empty when it is missing.
Volume readVolume(const std::string& name) {
    Volume volume;
    gzFile file = gzopen(("/usr/share/mricron/templates/" + name).c_str(), "rb");
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

TEST(RealVolumes, ABrainScanHasTheKnownComponents) {
    Volume scan = readVolume("ch2.nii.gz");
    if (scan.voxels.empty())
        GTEST_SKIP() << "mricron-data is not installed";
    const int expected[][2] = {{6, 1069}, {18, 501}, {26, 408}};
    std::vector<unsigned short> labels(scan.voxels.size());
    unsigned short* out = labels.data();
    ZtDArray<Component> list;
    for (const auto& row : expected)
        EXPECT_EQ(row[1], labelCC(ZtTypedPointer(scan.voxels.data()), scan.dims, row[0], out, 0,
                                  100, 255, 0, 0, &list, nullptr))
            << "connectivity " << row[0];
    const Component& largest = *std::max_element(
        list.begin() + 1, list.end(),
        [](const Component& a, const Component& b) { return compareComponents(a, b) < 0; });
    EXPECT_EQ(1063172u, largest.numVoxels);
    const float n = static_cast<float>(largest.numVoxels);
    EXPECT_NEAR(89.141, largest.sumX / n, 5e-4);
    EXPECT_NEAR(109.696, largest.sumY / n, 5e-4);
    EXPECT_NEAR(79.709, largest.sumZ / n, 5e-4);
}

TEST(RealVolumes, AnAtlasHasTheKnownPieces) {
    Volume atlas = readVolume("aal.nii.gz");
    if (atlas.voxels.empty())
        GTEST_SKIP() << "mricron-data is not installed";
    const int expected[][2] = {{6, 185}, {18, 159}, {26, 159}};
    std::vector<unsigned short> labels(atlas.voxels.size());
    ZtDArray<Component> list;
    for (const auto& row : expected)
        EXPECT_EQ(row[1], labelLabels(atlas.voxels.data(), atlas.dims, row[0], labels.data(), 0, 0,
                                      list, nullptr))
            << "connectivity " << row[0];
}

}  // namespace
