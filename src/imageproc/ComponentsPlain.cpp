// Labelling voxel by voxel.
#include "imageproc/ComponentsPlain.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/WorkArray.h"

namespace components {
namespace {

using Index = std::ptrdiff_t;
using Provisional = std::uint32_t;

/// A neighbour that raster order visits before the voxel.
struct Neighbour {
    int dx, dy, dz;
    Index offset;
};

struct Neighbours {
    Neighbour list[13];
    int count = 0;
};

/// The neighbours of `connectivity`; none when it is not a known one.
Neighbours neighboursOf(const Request& request) {
    static constexpr signed char kOffsets[13][3] = {
        {0, -1, 0},   {-1, 0, 0},                             // 4
        {-1, -1, 0},  {1, -1, 0},                             // 8
        {0, 0, -1},                                           // 10
        {0, -1, -1},  {-1, 0, -1}, {1, 0, -1},  {0, 1, -1},   // 18
        {-1, -1, -1}, {1, -1, -1}, {-1, 1, -1}, {1, 1, -1}};  // 26
    Neighbours neighbours;
    const auto add = [&](int first, int last) {
        for (int i = first; i < last; ++i) {
            const int dx = kOffsets[i][0], dy = kOffsets[i][1], dz = kOffsets[i][2];
            neighbours.list[neighbours.count++] = {
                dx, dy, dz, dx + request.nx * (dy + static_cast<Index>(request.ny) * dz)};
        }
    };
    switch (request.connectivity) {
        case 4:
            add(0, 2);
            break;
        case 6:
            add(0, 2);
            add(4, 5);
            break;
        case 8:
            add(0, 4);
            break;
        case 10:
            add(0, 5);
            break;
        case 18:
            add(0, 9);
            break;
        case 26:
            add(0, 13);
            break;
        default:
            break;
    }
    return neighbours;
}

/// The exact statistics of a component.
struct Record {
    std::uint32_t numVoxels;
    std::uint32_t mark;
    std::uint64_t sumX, sumY, sumZ;
};

/// A provisional component; its statistics are those of the voxels that were given its number.
struct Entry {
    Provisional parent;
    Record record;
};

/// The provisional components; entry 0 is the background. Every tree's root has its smallest
/// number.
class Forest {
public:
    Forest() { start(); }

    void start() {
        numTrees_ = 0;
        size_ = 0;
        add();
        numTrees_ = 0;
    }

    Provisional add() {
        if (size_ == room_) {
            const std::uint64_t room = std::uint64_t{room_} + room_ / 2 + 1024;
            entries_.grow(room);
            room_ = static_cast<Provisional>(std::min<std::uint64_t>(room, UINT32_MAX));
        }
        entries_[size_] = {size_, {}};
        ++numTrees_;
        return size_++;
    }

    Provisional root(Provisional label) {
        while (entries_[label].parent != label) {
            entries_[label].parent = entries_[entries_[label].parent].parent;
            label = entries_[label].parent;
        }
        return label;
    }

    /// Makes one tree of two, given by their roots, and returns its root.
    Provisional unite(Provisional a, Provisional b) {
        if (a == b)
            return a;
        --numTrees_;
        entries_[std::max(a, b)].parent = std::min(a, b);
        return std::min(a, b);
    }

    Record& record(Provisional label) { return entries_[label].record; }
    Provisional numTrees() const { return numTrees_; }

    /// Numbers the trees 1, 2, ... in the order of their roots: `parent` becomes the number of the
    /// tree, and `records` (numTrees() + 1 of them) the sums over the trees.
    void resolve(Record* records, bool labelMode) {
        Provisional count = 0;
        for (Provisional label = 1; label < size_; ++label) {
            Entry& entry = entries_[label];
            if (entry.parent == label) {
                entry.parent = ++count;
                records[count] = entry.record;
                continue;
            }
            entry.parent = entries_[entry.parent].parent;
            Record& sum = records[entry.parent];
            sum.numVoxels += entry.record.numVoxels;
            if (!labelMode)
                sum.mark += entry.record.mark;
            sum.sumX += entry.record.sumX;
            sum.sumY += entry.record.sumY;
            sum.sumZ += entry.record.sumZ;
        }
    }

    Provisional number(Provisional label) { return entries_[label].parent; }

private:
    WorkArray<Entry> entries_;
    Provisional size_ = 0;
    Provisional room_ = 0;
    Provisional numTrees_ = 0;
};

/// The raster pass over elements of type T.
template <class T, bool kLabelMode>
class Pass {
public:
    Pass(const Request& request, Provisional* labels, Forest& forest)
        : request_(request),
          data_(static_cast<const T*>(request.data)),
          lower_(static_cast<T>(request.lower)),
          upper_(static_cast<T>(request.upper)),
          labels_(labels),
          forest_(forest),
          neighbours_(neighboursOf(request)) {}

    /// Visits the first `end` voxels. Returns `end`, or, when too many components coexist after
    /// some row, the index of the voxel in that row that made the first one too many.
    Index visit(Index end) {
        Index i = 0;
        for (int z = 0; z < request_.nz; ++z) {
            for (int y = 0; y < request_.ny; ++y) {
                Index tooMany = -1;
                for (int x = 0; x < request_.nx; ++x, ++i) {
                    if (i == end)
                        return end;
                    visitVoxel(i, x, y, z);
                    if (tooMany < 0 && forest_.numTrees() > request_.limit)
                        tooMany = i;
                }
                if (forest_.numTrees() > request_.limit)
                    return tooMany;
            }
        }
        return end;
    }

private:
    void visitVoxel(Index i, int x, int y, int z) {
        const T value = data_[i];
        if (!kLabelMode && !(value >= lower_)) {
            labels_[i] = 0;
            return;
        }
        const bool inside = x > 0 && x < request_.nx - 1 && y > 0 && y < request_.ny - 1 && z > 0 &&
                            z < request_.nz - 1;
        Provisional label = 0;
        for (int n = 0; n < neighbours_.count; ++n) {
            const Neighbour& neighbour = neighbours_.list[n];
            if (!inside && !inGrid(x + neighbour.dx, y + neighbour.dy, z + neighbour.dz))
                continue;
            const Index j = i + neighbour.offset;
            if (labels_[j] == 0 || (kLabelMode && data_[j] != value))
                continue;
            const Provisional other = forest_.root(labels_[j]);
            label = label == 0 ? other : forest_.unite(label, other);
        }
        const bool isNew = label == 0;
        if (isNew)
            label = forest_.add();
        labels_[i] = label;
        Record& record = forest_.record(label);
        if (kLabelMode && isNew)
            record.mark = static_cast<std::uint32_t>(value);
        if (!kLabelMode && value >= upper_)
            ++record.mark;
        ++record.numVoxels;
        record.sumX += static_cast<std::uint64_t>(x);
        record.sumY += static_cast<std::uint64_t>(y);
        record.sumZ += static_cast<std::uint64_t>(z);
    }

    bool inGrid(int x, int y, int z) const {
        return x >= 0 && x < request_.nx && y >= 0 && y < request_.ny && z >= 0;
    }

    const Request& request_;
    const T* data_;
    T lower_, upper_;
    Provisional* labels_;
    Forest& forest_;
    Neighbours neighbours_;
};

template <class Label>
void writeLabels(Label* labels, const Provisional* provisional, Index count, Forest& forest) {
    for (Index i = 0; i < count; ++i)
        labels[i] = static_cast<Label>(provisional[i] ? forest.number(provisional[i]) : 0);
}

/// Makes `list`, which has room for them, the background and the components 1 to `count`.
void fillList(ComponentList& list, const Record* records, Provisional count) {
    list.resize(static_cast<int>(count) + 1);
    ZtConnectedComponents::Component* const components = list.dataPtr();
    components[0] = ZtConnectedComponents::Component();
    for (Provisional i = 1; i <= count; ++i) {
        ZtConnectedComponents::Component& component = components[i];
        component.alias = static_cast<int>(i);
        component.numVoxels = records[i].numVoxels;
        component.mark = records[i].mark;
        component.sumX = static_cast<float>(records[i].sumX);
        component.sumY = static_cast<float>(records[i].sumY);
        component.sumZ = static_cast<float>(records[i].sumZ);
    }
}

template <class T, bool kLabelMode>
int labelElements(const Request& request, ComponentList& list) {
    const Index numVoxels = static_cast<Index>(request.nx) * request.ny * request.nz;
    WorkArray<Provisional> provisional(static_cast<std::uint64_t>(numVoxels));
    Forest forest;
    Pass<T, kLabelMode> pass(request, provisional.data(), forest);
    const Index end = pass.visit(numVoxels);
    if (end < numVoxels) {
        forest.start();
        pass.visit(end);
    }
    const Provisional count = forest.numTrees();
    WorkArray<Record> records(std::uint64_t{count} + 1);
    reserve(list, count);

    forest.resolve(records.data(), kLabelMode);
    if (request.labelBytes == 2)
        writeLabels(static_cast<std::uint16_t*>(request.labels), provisional.data(), end, forest);
    else
        writeLabels(static_cast<std::uint32_t*>(request.labels), provisional.data(), end, forest);
    if (request.zeroUnvisited)
        std::memset(static_cast<char*>(request.labels) + end * request.labelBytes, 0,
                    static_cast<std::size_t>((numVoxels - end) * request.labelBytes));
    fillList(list, records.data(), count);
    return end < numVoxels ? -1 : static_cast<int>(count);
}

}  // namespace

int labelPlain(const Request& request, ComponentList& list) {
    if (request.labelMode)
        return labelElements<std::uint8_t, true>(request, list);
    switch (request.element) {
        case Element::kByte:
            return labelElements<std::uint8_t, false>(request, list);
        case Element::kShort:
            return labelElements<std::int16_t, false>(request, list);
        case Element::kInt:
            return labelElements<std::int32_t, false>(request, list);
        case Element::kFloat:
            return labelElements<float, false>(request, list);
        case Element::kDouble:
            return labelElements<double, false>(request, list);
        case Element::kUshort:
            break;
    }
    return labelElements<std::uint16_t, false>(request, list);
}

}  // namespace components
