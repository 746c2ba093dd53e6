#include "LabelCodes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <numeric>
#include <unordered_map>

namespace ztlabel {

namespace {

constexpr std::size_t kCodes = 256;

uint64_t keyOf(double value) {
    if (std::isnan(value))
        return ~uint64_t{0};
    return std::bit_cast<uint64_t>(value == 0 ? 0.0 : value);
}

/// Replaces each voxel by the number of its value; returns how many values there are.
std::size_t numberValues(const Volume& volume, uint32_t* indices) {
    return volume.visit([&](const auto* voxels) {
        std::unordered_map<uint64_t, uint32_t> numbers;
        uint64_t lastKey = keyOf(static_cast<double>(voxels[0]));
        uint32_t last = 0;
        numbers.emplace(lastKey, last);
        for (std::size_t i = 0; i < volume.voxelCount(); ++i) {
            const uint64_t key = keyOf(static_cast<double>(voxels[i]));
            if (key != lastKey) {
                lastKey = key;
                last = numbers.emplace(key, static_cast<uint32_t>(numbers.size())).first->second;
            }
            indices[i] = last;
        }
        return numbers.size();
    });
}

bool areNeighbours(int dx, int dy, int dz, int connectivity) {
    const int distance = std::abs(dx) + std::abs(dy) + std::abs(dz);
    switch (connectivity) {
        case 4:
            return distance == 1 && dz == 0;
        case 8:
            return dz == 0;
        case 6:
            return distance == 1;
        case 10:
            return dz == 0 || distance == 1;
        case 18:
            return distance <= 2;
        default:
            return true;
    }
}

using Pair = uint64_t;  // two numbers of values, the smaller one in the upper half

/// Pairs of different values that are neighbours somewhere.
class PairSet {
public:
    // 128 MiB of pairs; a field with more is noise.
    static constexpr std::size_t kMost = std::size_t{1} << 24;

    void add(uint32_t a, uint32_t b) {
        pairs_.push_back(static_cast<Pair>(std::min(a, b)) << 32 | std::max(a, b));
        if (pairs_.size() >= limit_) {
            compact();
            limit_ = std::max(limit_, 2 * pairs_.size());
        }
    }
    void compact() {
        std::sort(pairs_.begin(), pairs_.end());
        pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
    }
    bool isTooLarge() const { return limit_ > 2 * kMost; }
    const std::vector<Pair>& pairs() const { return pairs_; }

private:
    std::vector<Pair> pairs_;
    std::size_t limit_ = std::size_t{1} << 20;
};

void addPairs(const uint32_t* indices, const int* dims, int dx, int dy, int dz, PairSet& set) {
    const std::ptrdiff_t nx = dims[0];
    const std::ptrdiff_t ny = dims[1];
    const std::ptrdiff_t offset = dx + nx * (dy + ny * dz);
    uint32_t lastA = 0;
    uint32_t lastB = 0;
    for (std::ptrdiff_t z = -dz; z < dims[2]; ++z)
        for (std::ptrdiff_t y = std::max(0, -dy); y < ny - std::max(0, dy); ++y) {
            const uint32_t* row = indices + nx * (y + ny * z);
            for (std::ptrdiff_t x = std::max(0, -dx); x < nx - std::max(0, dx); ++x) {
                const uint32_t a = row[x];
                const uint32_t b = row[x + offset];
                if (a == b || (a == lastA && b == lastB))
                    continue;
                set.add(a, b);
                lastA = a;
                lastB = b;
            }
            if (set.isTooLarge())
                return;
        }
}

PairSet neighbouringValues(const uint32_t* indices, const int* dims, int connectivity) {
    PairSet set;
    for (int dz = -1; dz <= 0; ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const bool isEarlier = dz < 0 || dy < 0 || (dy == 0 && dx < 0);
                if (isEarlier && areNeighbours(dx, dy, dz, connectivity) && !set.isTooLarge())
                    addPairs(indices, dims, dx, dy, dz, set);
            }
    set.compact();
    return set;
}

/// Colours 0, 1, ... such that the two of a pair differ.
std::vector<uint32_t> colour(const std::vector<Pair>& pairs, std::size_t valueCount) {
    std::vector<std::size_t> start(valueCount + 1);
    for (Pair pair : pairs) {
        ++start[(pair >> 32) + 1];
        ++start[(pair & 0xffffffff) + 1];
    }
    std::partial_sum(start.begin(), start.end(), start.begin());
    std::vector<uint32_t> neighbours(start.back());
    std::vector<std::size_t> end(start.begin(), start.end() - 1);
    for (Pair pair : pairs) {
        const auto a = static_cast<uint32_t>(pair >> 32);
        const auto b = static_cast<uint32_t>(pair);
        neighbours[end[a]++] = b;
        neighbours[end[b]++] = a;
    }

    std::vector<uint32_t> order(valueCount);
    std::iota(order.begin(), order.end(), 0u);
    const auto degree = [&](uint32_t value) { return start[value + 1] - start[value]; };
    std::stable_sort(order.begin(), order.end(),
                     [&](uint32_t a, uint32_t b) { return degree(a) > degree(b); });

    constexpr uint32_t kNone = 0xffffffff;
    std::vector<uint32_t> colours(valueCount, kNone);
    std::vector<uint32_t> takenFor(valueCount,
                                   kNone);  // by colour: the last value that may not have it
    for (uint32_t value : order) {
        for (std::size_t i = start[value]; i < start[value + 1]; ++i)
            if (const uint32_t c = colours[neighbours[i]]; c != kNone)
                takenFor[c] = value;
        uint32_t free = 0;
        while (takenFor[free] == value)
            ++free;
        colours[value] = free;
    }
    return colours;
}

}  // namespace

LabelCodes::LabelCodes(const Volume& volume, int connectivity)
    : indices_(allocate(volume.voxelCount(), sizeof(uint32_t))), voxelCount_(volume.voxelCount()) {
    auto* const indices = static_cast<uint32_t*>(indices_.get());
    colours_.resize(numberValues(volume, indices));
    std::iota(colours_.begin(), colours_.end(), 0u);
    if (colours_.size() <= kCodes)
        return;
    const PairSet set = neighbouringValues(indices, volume.dims(), connectivity);
    if (!set.isTooLarge())
        colours_ = colour(set.pairs(), colours_.size());
    const std::size_t count = *std::max_element(colours_.begin(), colours_.end()) + std::size_t{1};
    if (count > kCodes)
        rounds_ = static_cast<int>((count + kCodes - 2) / (kCodes - 1));
}

void LabelCodes::codesOfRound(int round, unsigned char* codes) const {
    const auto* const indices = static_cast<const uint32_t*>(indices_.get());
    std::vector<unsigned char> codeOf(colours_.size());
    if (rounds_ == 1) {
        std::copy(colours_.begin(), colours_.end(), codeOf.begin());
    } else {
        const uint32_t first = static_cast<uint32_t>(round) * static_cast<uint32_t>(kCodes - 1);
        for (std::size_t value = 0; value < colours_.size(); ++value)
            if (colours_[value] - first < kCodes - 1)  // wraps for colours of earlier rounds
                codeOf[value] = static_cast<unsigned char>(colours_[value] - first + 1);
    }
    std::transform(indices, indices + voxelCount_, codes, [&](uint32_t i) { return codeOf[i]; });
}

}  // namespace ztlabel
