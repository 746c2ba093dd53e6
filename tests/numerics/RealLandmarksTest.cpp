// The landmarks of a real atlas of the brain, whose left regions mirror the right ones.
#include <ztlib/ZtAlignPointSets.h>

#include <array>
#include <fstream>

#include "RealVolume.h"
#include "Residual.h"

namespace {

/// The centres of mass of the regions that the atlas has on both sides.
struct Landmarks {
    Points left, right;

    explicit Landmarks(const RealVolume& atlas) {
        std::vector<std::array<double, 4>> sums(256);
        std::size_t voxel = 0;
        for (int z = 0; z < atlas.dims[2]; ++z)
            for (int y = 0; y < atlas.dims[1]; ++y)
                for (int x = 0; x < atlas.dims[0]; ++x) {
                    std::array<double, 4>& sum = sums[atlas.voxels[voxel++]];
                    sum[0] += x;
                    sum[1] += y;
                    sum[2] += z;
                    sum[3] += 1;
                }
        // Lines such as "1 Precentral_L 2001".
        std::ifstream names(kRealVolumes + "aal.nii.txt");
        std::size_t label, leftLabel = 0;
        std::string name, leftName, rest;
        for (; names >> label >> name; std::getline(names, rest)) {
            const std::string region = name.substr(0, name.size() - 2);
            if (name.ends_with("_L")) {
                leftName = region;
                leftLabel = label;
            } else if (name.ends_with("_R") && region == leftName) {
                for (const auto& [points, sum] :
                     {std::pair(&left, sums.at(leftLabel)), std::pair(&right, sums.at(label))})
                    points->push_back(ZtVec3f(ZtVec3d(sum[0], sum[1], sum[2]) / sum[3]));
            }
        }
    }
};

TEST(RealLandmarks, OfTheSidesOfABrainAlignByAProperRotation) {
    const RealVolume atlas = readRealVolume("aal.nii.gz");
    if (atlas.voxels.empty())
        GTEST_SKIP() << "mricron-data is not installed";
    const Landmarks landmarks(atlas);
    const int n = static_cast<int>(landmarks.left.size());
    ASSERT_GE(n, 54);
    oracle::Random random(1);
    ZtMat4f result;
    ztAlignPointSets(result, landmarks.right.data(), landmarks.left.data(), n, 0);
    const Transform transform = oracle::squareOf<4>(result);
    EXPECT_NEAR(1, result.det3(), 1e-5);
    expectBest(transform, landmarks.right, landmarks.left, Freedom::kRigid, random);

    // Mirrored at a sagittal plane the sides differ by a few millimetres and a small turn only.
    Points mirrored = landmarks.left;
    for (ZtVec3f& p : mirrored)
        p.x = static_cast<float>(atlas.dims[0] - 1) - p.x;
    ZtMat4f mirror;
    ztAlignPointSets(mirror, landmarks.right.data(), mirrored.data(), n, 0);
    const double rms =
        std::sqrt(residual(oracle::squareOf<4>(mirror), landmarks.right, mirrored) / n);
    EXPECT_LT(rms, 4);
    EXPECT_GT(mirror[0][0] + mirror[1][1] + mirror[2][2], 2.99f);
    EXPECT_GT(std::sqrt(residual(transform, landmarks.right, landmarks.left) / n), 2 * rms);
}

}  // namespace
