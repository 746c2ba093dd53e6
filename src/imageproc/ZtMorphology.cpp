// Erosion and dilation: from step to step, and the comparison of their forms.
#include <ztlib/ZtMorphology.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "imageproc/MaskSource.h"
#include "imageproc/MaskStep.h"

using namespace maskstep;

namespace {

constexpr int kWordBits = 32;

void clearBitsBeyond(ZtBitfield& mask) {
    const unsigned last = mask.nBits() / kWordBits;
    mask.words()[last] &= (1u << mask.nBits() % kWordBits) - 1;
}

/// Takes steps until there are enough or one changes nothing.
void iterate(const ZtBitfield& in, ZtBitfield& out, const ZtVec3i& dims, unsigned steps,
             Operation operation, Reach reach, bool fast) {
    const std::uint64_t size = numVoxels(dims);
    if (size > UINT32_MAX)
        return;
    if (size == 0)
        return out.resize(0);
    const auto numBits = static_cast<unsigned>(size);
    const MaskSource source(in, out, numBits);
    const RowEnds ends(dims.x, numBits / kWordBits + 1);
    ZtBitfield other;
    if (steps > 1)
        other.resize(numBits);
    if (out.nBits() != numBits)
        out.resize(numBits);

    const Grid grid = {dims.x, dims.y, dims.z};
    const unsigned* from = source.words();
    if (steps == 0)
        std::copy(from, from + out.nWords(), out.words());
    for (unsigned i = 0; i < steps; ++i) {
        if (i > 0) {
            std::swap(out, other);
            from = other.words();
        }
        const bool changed = fast && dims.x >= kWordBits
                                 ? stepByWords(from, out.words(), grid, ends, operation, reach)
                                 : stepByVoxels(from, out.words(), grid, operation, reach);
        if (!changed)
            break;
    }
    clearBitsBeyond(out);
}

void stepInPlane(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims, Operation operation,
                 Reach reach) {
    iterate(in, out, ZtVec3i(dims.x, dims.y, 1), 1, operation, reach, true);
}

/// Compares a step's forms on a mask; tells the number of bits in which they differ.
bool formsAgree(const ZtBitfield& mask, const Grid& grid, int density, Operation operation,
                Reach reach) {
    ZtBitfield byVoxels(mask.nBits()), byWords(mask.nBits());
    stepByVoxels(mask.words(), byVoxels.words(), grid, operation, reach);
    const RowEnds ends(grid.nx, mask.nWords());
    stepByWords(mask.words(), byWords.words(), grid, ends, operation, reach, true);
    byVoxels ^= byWords;
    const unsigned differing = byVoxels.nSetBits();
    if (differing == 0)
        return true;
    std::fprintf(stderr, "%s %d test ERROR - diffs: %d x: %d y: %d d: %d\n",
                 operation == Operation::kErosion ? "erosion" : "dilation",
                 reach == Reach::kFaces ? 4 : 8, static_cast<int>(differing), grid.nx, grid.ny,
                 density);
    return false;
}

ZtBitfield testMask(unsigned numBits, int density) {
    ZtBitfield mask(numBits);
    std::srand(4712);
    for (unsigned i = 0; i < numBits; ++i)
        mask.set(i, std::rand() % 100 < density);
    return mask;
}

}  // namespace

void ZtMorphology::dilation2D_4(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims) {
    stepInPlane(in, out, dims, Operation::kDilation, Reach::kFaces);
}

void ZtMorphology::erosion2D_4(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims) {
    stepInPlane(in, out, dims, Operation::kErosion, Reach::kFaces);
}

void ZtMorphology::dilation2D_8(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims) {
    stepInPlane(in, out, dims, Operation::kDilation, Reach::kCorners);
}

void ZtMorphology::erosion2D_8(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims) {
    stepInPlane(in, out, dims, Operation::kErosion, Reach::kCorners);
}

void ZtMorphology::erosion3D(const ZtBitfield& in, ZtBitfield& out, const ZtVec3i& dims,
                             int iterations, bool fast) {
    const unsigned steps = iterations < 0 ? 0u : static_cast<unsigned>(iterations);
    iterate(in, out, dims, steps, Operation::kErosion, Reach::kFaces, fast);
}

void ZtMorphology::dilation3D(const ZtBitfield& in, ZtBitfield& out, const ZtVec3i& dims,
                              unsigned int iterations, bool fast) {
    iterate(in, out, dims, iterations, Operation::kDilation, Reach::kFaces, fast);
}

bool ZtMorphology::unitTest2D() {
    struct Size {
        int nx, ny;
    };
    constexpr Size kSizes[] = {{33, 1001}, {33, 30},   {512, 512}, {100, 100},  {127, 127},
                               {127, 128}, {129, 127}, {130, 127}, {1270, 1290}};
    bool agree = true;
    for (const Reach reach : {Reach::kFaces, Reach::kCorners}) {
        for (const int density : {10, 50, 70}) {
            for (Size size : kSizes) {
                // The denser masks have a short one among those for corners.
                if (reach == Reach::kCorners && density >= 50 && size.nx == 100)
                    size.ny = 5;
                const Grid grid = {size.nx, size.ny, 1};
                const ZtBitfield mask = testMask(
                    static_cast<unsigned>(size.nx) * static_cast<unsigned>(size.ny), density);
                for (const Operation operation : {Operation::kDilation, Operation::kErosion})
                    agree = formsAgree(mask, grid, density, operation, reach) && agree;
            }
        }
    }
    return agree;
}
