// Labels a grid by flooding one component after another: the oracle of labelling and of filling.
#pragma once

#include <array>
#include <cstdlib>
#include <vector>

/// Whether voxels that far apart, at most one step along each axis, are connected. An unknown
/// connectivity connects none.
inline bool areConnected(int connectivity, int dx, int dy, int dz) {
    const int steps = std::abs(dx) + std::abs(dy) + std::abs(dz);
    switch (connectivity) {
        case 4:
            return dz == 0 && steps == 1;
        case 8:
            return dz == 0;
        case 6:
            return steps == 1;
        case 10:
            return dz == 0 || steps == 1;
        case 18:
            return steps <= 2;
        default:
            return connectivity == 26;
    }
}

/// The component of each of the first `end` voxels, in the raster order of first voxels from 1 on;
/// 0 elsewhere. `isIn(a)` tells whether voxel a is in any, `belongs(a, b)` whether neighbours are
/// in the same.
template <class IsIn, class Belongs>
std::vector<int> floodFill(const std::array<int, 3>& dims, int connectivity, IsIn isIn,
                           Belongs belongs, std::size_t end) {
    const auto [nx, ny, nz] = dims;
    std::vector<int> labels(static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny * nz));
    int count = 0;
    for (std::size_t seed = 0; seed < end; ++seed) {
        if (labels[seed] != 0 || !isIn(seed))
            continue;
        labels[seed] = ++count;
        for (std::vector<std::size_t> open{seed}; !open.empty();) {
            const std::size_t at = open.back();
            open.pop_back();
            const int x = static_cast<int>(at) % nx, y = static_cast<int>(at) / nx % ny;
            const int z = static_cast<int>(at) / nx / ny;
            for (int k = 0; k < 27; ++k) {
                const int dx = k % 3 - 1, dy = k / 3 % 3 - 1, dz = k / 9 - 1;
                if (x + dx < 0 || x + dx >= nx || y + dy < 0 || y + dy >= ny || z + dz < 0 ||
                    z + dz >= nz || !areConnected(connectivity, dx, dy, dz))
                    continue;
                const auto next = static_cast<std::size_t>(x + dx + nx * (y + dy + ny * (z + dz)));
                if (next < end && labels[next] == 0 && isIn(next) && belongs(at, next)) {
                    labels[next] = count;
                    open.push_back(next);
                }
            }
        }
    }
    return labels;
}
