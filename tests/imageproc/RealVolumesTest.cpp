// The labelling of a real brain scan and of a real atlas, against figures counted independently.
#include <gtest/gtest.h>
#include <ztlib/ZtConnectedComponents.h>

#include <algorithm>
#include <vector>

#include "RealVolume.h"

using namespace ZtConnectedComponents;

namespace {

TEST(RealVolumes, ABrainScanHasTheKnownComponents) {
    RealVolume scan = readRealVolume("ch2.nii.gz");
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
    RealVolume atlas = readRealVolume("aal.nii.gz");
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
