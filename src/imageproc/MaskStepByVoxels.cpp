// A step of erosion or dilation voxel by voxel.
#include "imageproc/MaskStep.h"

namespace maskstep {

namespace {

class Bits {
public:
    Bits(const unsigned* in, const Grid& grid) : in_(in), grid_(grid) {}

    bool at(int x, int y, int z) const {
        const unsigned i = index(x, y, z);
        return (in_[i / 32] >> i % 32 & 1u) != 0;
    }

    bool isInside(int x, int y, int z) const {
        return x >= 0 && x < grid_.nx && y >= 0 && y < grid_.ny && z >= 0 && z < grid_.nz;
    }

    unsigned index(int x, int y, int z) const {
        const auto n = [](int k) { return static_cast<unsigned>(k); };
        return n(x) + n(grid_.nx) * (n(y) + n(grid_.ny) * n(z));
    }

    /// Whether a face neighbour has the value.
    bool hasFaceNeighbour(int x, int y, int z, bool value) const {
        const auto has = [&](int nx, int ny, int nz) {
            return isInside(nx, ny, nz) && at(nx, ny, nz) == value;
        };
        return has(x - 1, y, z) || has(x + 1, y, z) || has(x, y, z - 1) || has(x, y, z + 1) ||
               has(x, y - 1, z) || has(x, y + 1, z);
    }

    bool hasNeighbourInSlice(int x, int y, int z, bool value) const {
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                if (isInside(x + dx, y + dy, z) && at(x + dx, y + dy, z) == value)
                    return true;
        return false;
    }

private:
    const unsigned* in_;
    const Grid& grid_;
};

}  // namespace

bool stepByVoxels(const unsigned* in, unsigned* out, const Grid& grid, Operation operation,
                  Reach reach) {
    const Bits bits(in, grid);
    // What a voxel takes over from a neighbour: dilation the set ones, erosion the clear ones.
    const bool taken = operation == Operation::kDilation;
    bool changed = false;
    for (int z = 0; z < grid.nz; ++z)
        for (int y = 0; y < grid.ny; ++y)
            for (int x = 0; x < grid.nx; ++x) {
                bool bit = bits.at(x, y, z);
                if (bit != taken &&
                    (reach == Reach::kFaces ? bits.hasFaceNeighbour(x, y, z, taken)
                                            : bits.hasNeighbourInSlice(x, y, z, taken))) {
                    bit = taken;
                    changed = true;
                }
                const unsigned i = bits.index(x, y, z);
                const unsigned mask = 1u << i % 32;
                out[i / 32] = bit ? out[i / 32] | mask : out[i / 32] & ~mask;
            }
    return changed;
}

}  // namespace maskstep
