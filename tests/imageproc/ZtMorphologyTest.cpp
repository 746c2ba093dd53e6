// Erosion and dilation in all their forms and seeded filling, against a byte for each voxel.
#include <gtest/gtest.h>
#include <ztlib/ZtMorphology.h>

#include <random>
#include <vector>

#include "FloodFill.h"

namespace {

/// A mask with a byte for each voxel: what the operations are, word by word of their definition.
struct Reference {
    ZtVec3i dims;
    std::vector<char> voxels;

    bool isInside(const ZtVec3i& v) const {
        return v.x >= 0 && v.x < dims.x && v.y >= 0 && v.y < dims.y && v.z >= 0 && v.z < dims.z;
    }
    std::size_t index(const ZtVec3i& v) const {
        return static_cast<std::size_t>(v.x + dims.x * (v.y + dims.y * v.z));
    }

    // A step with all neighbours at most so far away in y and z that `corners` or faces allow.
    Reference step(bool erosion, bool corners) const {
        Reference result = *this;
        for (int i = 0; i < static_cast<int>(voxels.size()); ++i) {
            const ZtVec3i at(i % dims.x, i / dims.x % dims.y, i / dims.x / dims.y);
            bool any = false, all = true;
            for (int k = 0; k < 27; ++k) {
                const ZtVec3i by(k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1);
                if ((corners ? by.z != 0 : by.length2() > 1) || !isInside(at + by))
                    continue;
                any = any || voxels[index(at + by)];
                all = all && voxels[index(at + by)];
            }
            result.voxels[index(at)] = erosion ? all : any;
        }
        return result;
    }

    ZtBitfield bits() const {
        ZtBitfield field(static_cast<unsigned>(voxels.size()), ZtBitfield::INIT_SET);
        for (unsigned i = 0; i < field.nBits(); ++i)
            field.set(i, voxels[i]);
        return field;  // with the bits beyond set: they are nobody's
    }
};

Reference randomMask(const ZtVec3i& dims, double density, std::mt19937& engine) {
    std::bernoulli_distribution isSet(density);
    Reference mask = {dims, {}};
    for (long long n = static_cast<long long>(dims.x) * dims.y * dims.z; n > 0; --n)
        mask.voxels.push_back(isSet(engine));
    return mask;
}

/// Expects the bits of a mask and nothing beyond them.
void expectEqual(const Reference& expected, const ZtBitfield& actual, const char* operation) {
    ASSERT_EQ(expected.voxels.size(), actual.nBits()) << operation;
    for (unsigned i = 0; i < actual.nBits(); ++i)
        ASSERT_EQ(expected.voxels[i] != 0, actual[i] != 0) << operation << ", voxel " << i;
    for (unsigned i = actual.nBits(); i < 32 * actual.nWords(); ++i)
        ASSERT_EQ(0u, actual.words()[i / 32] >> i % 32 & 1u) << operation << ", beyond: " << i;
}

TEST(ZtMorphology, StepsInPlaneAgreeWithTheirDefinition) {
    std::mt19937 engine(1);
    ZtBitfield out(7, ZtBitfield::INIT_SET);
    for (int nx = 1; nx <= 200; ++nx) {
        for (const int ny : {1, 2, 3, 3 + nx % 7}) {
            const double density = (nx + ny) % 11 / 10.0;
            SCOPED_TRACE(testing::Message() << nx << " x " << ny << ", density " << density);
            const ZtVec2i dims(nx, ny);
            const Reference mask = randomMask(ZtVec3i(nx, ny, 1), density, engine);
            const ZtBitfield in = mask.bits();
            const struct {
                const char* name;
                void (*step)(const ZtBitfield&, ZtBitfield&, const ZtVec2i&);
                bool erosion, corners;
            } steps[] = {{"dilation 4", ZtMorphology::dilation2D_4, false, false},
                         {"erosion 4", ZtMorphology::erosion2D_4, true, false},
                         {"dilation 8", ZtMorphology::dilation2D_8, false, true},
                         {"erosion 8", ZtMorphology::erosion2D_8, true, true}};
            for (const auto& [name, step, erosion, corners] : steps) {
                step(in, out, dims);
                ASSERT_NO_FATAL_FAILURE(expectEqual(mask.step(erosion, corners), out, name));
            }
        }
    }
}

TEST(ZtMorphology, StepsInSpaceAgreeWithTheirDefinition) {
    std::mt19937 engine(2);
    for (int nx = 1; nx <= 200; ++nx) {
        const ZtVec3i dims(nx, 1 + nx % 5, 1 + nx % 4);
        const double density = nx % 9 / 8.0;
        SCOPED_TRACE(testing::Message() << nx << " x " << dims.y << " x " << dims.z);
        Reference eroded = randomMask(dims, 0.5 + density / 2, engine), dilated = eroded;
        const ZtBitfield in = eroded.bits();
        for (int steps = 0; steps <= 4; ++steps) {
            for (const bool fast : {true, false}) {
                ZtBitfield out;
                ZtMorphology::erosion3D(in, out, dims, steps, fast);
                ASSERT_NO_FATAL_FAILURE(expectEqual(eroded, out, "erosion"));
                ZtMorphology::dilation3D(in, out, dims, static_cast<unsigned>(steps), fast);
                ASSERT_NO_FATAL_FAILURE(expectEqual(dilated, out, "dilation"));
            }
            eroded = eroded.step(true, false);
            dilated = dilated.step(false, false);
        }
    }
}

TEST(ZtMorphology, LongRowsAgreeWithTheirDefinition) {
    std::mt19937 engine(3);
    for (const int nx : {1025, 4096, 32767, 32768, 40000, 65537}) {
        SCOPED_TRACE(nx);
        const Reference mask = randomMask(ZtVec3i(nx, 5, 1), 0.6, engine);
        ZtBitfield out;
        ZtMorphology::erosion2D_8(mask.bits(), out, ZtVec2i(nx, 5));
        ASSERT_NO_FATAL_FAILURE(expectEqual(mask.step(true, true), out, "erosion 8"));
        ZtMorphology::dilation3D(mask.bits(), out, ZtVec3i(nx, 5, 1), 1);
        ASSERT_NO_FATAL_FAILURE(expectEqual(mask.step(false, false), out, "dilation"));
    }
}

TEST(ZtMorphology, ComparesItsFormsAndStopsWhenNothingChanges) {
    EXPECT_TRUE(ZtMorphology::unitTest2D());
    ZtBitfield mask(64 * 64 * 64), out;
    mask.set(0);
    ZtMorphology::dilation3D(mask, out, ZtVec3i(64, 64, 64), ~0u);
    EXPECT_FALSE(out.isAnyBitUnset());
    ZtMorphology::erosion3D(out, mask, ZtVec3i(64, 64, 64), 2147483647);
    EXPECT_FALSE(mask.isAnyBitUnset());  // the edge of the grid erodes nothing
}

TEST(ZtMorphology, TakesAnyMaskAndAnyGrid) {
    std::mt19937 engine(4);
    const ZtVec3i dims(40, 9, 3);
    Reference mask = randomMask(dims, 0.7, engine);

    ZtBitfield both = mask.bits();
    ZtMorphology::erosion3D(both, both, dims, 2);
    expectEqual(mask.step(true, false).step(true, false), both, "in place");

    ZtBitfield longer = mask.bits(), shorter = mask.bits(), out;
    longer.resize(5000, ZtBitfield::INIT_SET);
    ZtMorphology::dilation3D(longer, out, dims, 1);
    expectEqual(mask.step(false, false), out, "of a longer mask");
    shorter.resize(500);
    std::fill(mask.voxels.begin() + 500, mask.voxels.end(), 0);
    ZtMorphology::dilation3D(shorter, out, dims, 1);
    expectEqual(mask.step(false, false), out, "of a shorter mask");
    ZtMorphology::erosion3D(shorter, out, dims, -1);
    expectEqual(mask, out, "no step");

    ZtMorphology::erosion3D(shorter, out, ZtVec3i(65536, 65536, 1));
    expectEqual(mask, out, "too many voxels");
    ZtMorphology::dilation2D_8(shorter, out, ZtVec2i(5, 0));
    EXPECT_EQ(0u, out.nBits());
}

TEST(ZtMorphology, FillsWhatIsConnectedToItsSeeds) {
    std::mt19937 engine(5);
    for (int round = 0; round < 300; ++round) {
        const auto below = [&](int n) {
            return static_cast<int>(engine() % static_cast<unsigned>(n));
        };
        const ZtVec3i dims(1 + below(round % 3 == 0 ? 150 : 20), 1 + below(9), 1 + below(5));
        SCOPED_TRACE(testing::Message()
                     << "round " << round << ": " << dims.x << " x " << dims.y << " x " << dims.z);
        const Reference mask = randomMask(dims, 0.3 + 0.1 * (round % 8), engine);
        ZtDArray<ZtVec3i> seeds;
        for (int n = below(4); n > 0; --n)
            seeds.push(
                ZtVec3i(below(dims.x + 2) - 1, below(dims.y + 2) - 1, below(dims.z + 2) - 1));
        Reference expected = {dims, std::vector<char>(mask.voxels.size())};
        const std::vector<int> pieces = floodFill(
            {dims.x, dims.y, dims.z}, 6, [&](std::size_t i) { return mask.voxels[i] != 0; },
            [](std::size_t, std::size_t) { return true; }, mask.voxels.size());
        for (const ZtVec3i& seed : seeds)
            for (std::size_t i = 0; mask.isInside(seed) && i < pieces.size(); ++i)
                if (pieces[i] != 0 && pieces[i] == pieces[mask.index(seed)])
                    expected.voxels[i] = 1;
        ZtBitfield out = mask.bits();
        const unsigned count = ZtMorphology::floodfill(out, out, dims, seeds);
        ASSERT_NO_FATAL_FAILURE(expectEqual(expected, out, "fill"));
        EXPECT_EQ(out.nSetBits(), count);
    }
}

}  // namespace
