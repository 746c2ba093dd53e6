// Exchanging the axes of a volume in place.
//
// The volume is cut into tiles whose rows are whole cache lines along the axis that is innermost
// before and the one that is innermost after. A tile is read into a block, row by row, and its
// elements are permuted as they are written. Where the axes that change places have equal sizes,
// each tile goes to where another one was, in cycles as short as those of the permutation, and no
// copy of the volume is needed; otherwise the tiles are taken from one.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtRawData.h>
#include <ztlib/ZtTypedPointer.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "typeddata/RawTypes.h"
#include "typeddata/Transpose.h"

namespace {

constexpr int kMostAxes = 16;
constexpr std::ptrdiff_t kMostBlockBytes = std::ptrdiff_t{1} << 18;
constexpr std::ptrdiff_t kLine = 64;

using Offset = std::ptrdiff_t;

/// A permutation of the axes of an array: axis i of the result is axis from[i] of the source.
struct Permutation {
    int axes = 0;
    int from[kMostAxes] = {};
    Offset size[kMostAxes] = {};  ///< Of the source's axes, in elements.

    bool isIdentity() const {
        for (int i = 0; i < axes; ++i)
            if (from[i] != i)
                return false;
        return true;
    }

    /// Whether the axes that change places have equal sizes.
    bool keepsSizes() const {
        for (int i = 0; i < axes; ++i)
            if (size[i] != size[from[i]])
                return false;
        return true;
    }

    /// The axis of the result that an axis of the source becomes.
    int placeOf(int axis) const {
        return static_cast<int>(std::find(from, from + axes, axis) - from);
    }
};

bool isPermutation(const int* permutation, int n) {
    bool seen[kMostAxes] = {};
    for (int i = 0; i < n; ++i) {
        if (permutation[i] < 0 || permutation[i] >= n || seen[permutation[i]])
            return false;
        seen[permutation[i]] = true;
    }
    return true;
}

/// The same permutation without axes of size 1 and, if it `joins`, with one axis for those that
/// stay side by side.
Permutation simplified(const Permutation& given, bool joins) {
    Permutation result;
    int newName[kMostAxes];
    // The source's axes in their order; one that follows its neighbour in the result, too, joins
    // it.
    int previous = -1;
    for (int axis = 0; axis < given.axes; ++axis) {
        if (given.size[axis] == 1) {
            newName[axis] = -1;
            continue;
        }
        int before = given.placeOf(axis) - 1;
        while (before >= 0 && given.size[given.from[before]] == 1)
            --before;
        if (joins && previous >= 0 && before >= 0 && given.from[before] == previous) {
            newName[axis] = -1;
            result.size[result.axes - 1] *= given.size[axis];
        } else {
            newName[axis] = result.axes;
            result.size[result.axes++] = given.size[axis];
        }
        previous = axis;
    }
    int next = 0;
    for (int i = 0; i < given.axes; ++i)
        if (newName[given.from[i]] >= 0)
            result.from[next++] = newName[given.from[i]];
    return result;
}

/// A box of elements: where it starts and how far it reaches along each axis.
struct Tile {
    Offset first[kMostAxes];
    Offset extent[kMostAxes];
};

/// Moves the tiles of one array.
class Mover {
public:
    Mover(const Permutation& permutation, std::size_t elementSize)
        : permutation_(permutation), size_(static_cast<Offset>(elementSize)) {
        Offset from = size_;
        Offset to = size_;
        for (int i = 0; i < axes(); ++i) {
            sourceStride_[i] = from;
            targetStride_[i] = to;
            from *= permutation_.size[i];
            to *= permutation_.size[permutation_.from[i]];
        }
        bytes_ = from;
        chooseTile();
        allocation_.reset(static_cast<unsigned char*>(
            ztmalloc(static_cast<std::size_t>(2 * blockBytes_ + kLine))));
        const auto address = reinterpret_cast<std::uintptr_t>(allocation_.get());
        for (int i = 0; i < 2; ++i)
            blocks_[i] = allocation_.get() + (0 - address) % kLine + i * blockBytes_;
    }

    Offset bytes() const { return bytes_; }

    /// Permutes the elements at `data`.
    void run(unsigned char* data) {
        if (permutation_.keepsSizes())
            runInCycles(data);
        else
            runFromCopy(data);
    }

private:
    struct Free {
        void operator()(unsigned char* block) const { ztfree(block); }
    };
    using Block = std::unique_ptr<unsigned char, Free>;

    int axes() const { return permutation_.axes; }

    /// Bytes of a tile that has `side` of them along `length` axes; 64 bits hold 8^16 of 8.
    static std::int64_t bytesOf(Offset side, int length, Offset size) {
        std::int64_t result = size;
        for (int i = 0; i < length; ++i)
            result *= side;
        return result;
    }

    /// Tiles are long along the axes that are innermost before and after, and along those with
    /// which they change places: so the tiles of a cycle have the same shape.
    void chooseTile() {
        int length = 0;
        bool isLong[kMostAxes] = {};
        for (int start : {0, permutation_.from[0]})
            for (int axis = start; !isLong[axis]; axis = permutation_.from[axis]) {
                isLong[axis] = true;
                ++length;
            }
        // Whole lines of memory, and blocks that stay in the second cache.
        Offset side = 8;
        Offset sideOfOthers = 1;
        if (length <= 1) {
            side = std::max<Offset>(4096 / size_, 1);
            // Several rows that stay rows, in the first cache.
            const Offset row = std::min(side, permutation_.size[0]) * size_;
            while (bytesOf(2 * sideOfOthers, axes() - 1, row) <= 16384)
                sideOfOthers *= 2;
        } else if (length == 2) {
            side = std::max<Offset>(512 / size_, 64);
        } else if (length == 3) {
            side = std::max<Offset>(64 / size_, 16);
        } else {
            while (side > 1 && bytesOf(side, length, size_) > kMostBlockBytes)
                --side;
        }
        for (int i = 0; i < axes(); ++i)
            side_[i] = std::min(isLong[i] ? side : sideOfOthers, permutation_.size[i]);
        // An odd number of lines, since rows a power of two apart displace each other in the
        // caches.
        pitch_ = side_[0] * size_;
        if (pitch_ >= kLine)
            pitch_ = ((pitch_ + kLine - 1) / kLine | 1) * kLine;
        blockBytes_ = pitch_;
        for (int i = 1; i < axes(); ++i)
            blockBytes_ *= side_[i];
        blockBytes_ = (blockBytes_ + kLine - 1) / kLine * kLine;
        // Tiles beside each other along the axes that are cut into long ones follow each other.
        int next = 0;
        for (const bool wanted : {true, false})
            for (int i = 0; i < axes(); ++i)
                if (isLong[i] == wanted)
                    order_[next++] = i;
    }

    /// Calls `action(tile)` for all tiles of the source.
    template <class Action>
    void forEachTile(Action action) const {
        Tile tile = {};
        for (;;) {
            for (int i = 0; i < axes(); ++i)
                tile.extent[i] = std::min(side_[i], permutation_.size[i] - tile.first[i]);
            action(tile);
            int i = 0;
            for (; i < axes(); ++i) {
                const int axis = order_[i];
                if ((tile.first[axis] += side_[axis]) < permutation_.size[axis])
                    break;
                tile.first[axis] = 0;
            }
            if (i == axes())
                return;
        }
    }

    /// The box of the result, in its axes, that a tile of the source goes to.
    Tile imageOf(const Tile& tile) const {
        Tile image;
        for (int i = 0; i < axes(); ++i) {
            image.first[i] = tile.first[permutation_.from[i]];
            image.extent[i] = tile.extent[permutation_.from[i]];
        }
        return image;
    }

    /// Calls `action(data, block)` for each place in a box along its axes but the first and
    /// `without`, with the bytes from where the array and the block start.
    template <class Action>
    void forEachRow(const Tile& box, const Offset* dataStride, const Offset* blockStride,
                    int without, Action action) const {
        Offset data = 0;
        Offset block = 0;
        for (int i = 0; i < axes(); ++i)
            data += box.first[i] * dataStride[i];
        Offset position[kMostAxes] = {};
        for (;;) {
            action(data, block);
            int i = 1;
            for (; i < axes(); ++i) {
                if (i == without)
                    continue;
                data += dataStride[i];
                block += blockStride[i];
                if (++position[i] < box.extent[i])
                    break;
                data -= box.extent[i] * dataStride[i];
                block -= box.extent[i] * blockStride[i];
                position[i] = 0;
            }
            if (i >= axes())
                return;
        }
    }

    /// The strides of a tile's axes in its block.
    struct Strides {
        Offset of[kMostAxes];
    };
    Strides blockStrides(const Tile& tile) const {
        Strides strides = {};
        strides.of[0] = size_;
        for (int i = 1; i < axes(); ++i)
            strides.of[i] = i == 1 ? pitch_ : strides.of[i - 1] * tile.extent[i - 1];
        return strides;
    }

    /// Reads a tile into a block.
    void gather(unsigned char* block, const unsigned char* data, const Tile& tile) const {
        const auto row = static_cast<std::size_t>(tile.extent[0] * size_);
        const Strides strides = blockStrides(tile);
        // The axis with the most rows in a loop of its own, so that more of them are under way.
        const int inner = permutation_.from[0];
        const Offset rows = inner == 0 ? 1 : tile.extent[inner];
        const Offset fromStep = sourceStride_[inner];
        const Offset toStep = strides.of[inner];
        forEachRow(tile, sourceStride_, strides.of, inner, [&](Offset from, Offset to) {
            for (Offset i = 0; i < rows; ++i)
                std::memcpy(block + to + i * toStep, data + from + i * fromStep, row);
        });
    }

    /// Writes the elements of a tile's block to where they go.
    void scatter(unsigned char* data, const unsigned char* block, const Tile& tile) const {
        const Tile image = imageOf(tile);
        const Strides strides = blockStrides(tile);
        Offset from[kMostAxes] = {};
        for (int i = 0; i < axes(); ++i)
            from[i] = strides.of[permutation_.from[i]];
        const auto row = static_cast<std::size_t>(image.extent[0]);
        const auto size = static_cast<std::size_t>(size_);
        const int wasInner = permutation_.placeOf(0);
        forEachRow(image, targetStride_, from, wasInner, [&](Offset to, Offset in) {
            if (wasInner == 0)
                std::memcpy(data + to, block + in, row * size);
            else
                rawdata::transpose(data + to, targetStride_[wasInner], block + in, from[0], row,
                                   static_cast<std::size_t>(image.extent[wasInner]), size);
        });
    }

    bool isSame(const Tile& a, const Tile& b) const {
        return std::equal(a.first, a.first + axes(), b.first);
    }

    /// Whether a tile is the first of its cycle, in the order of their places.
    bool leads(const Tile& tile) const {
        for (Tile next = imageOf(tile); !isSame(next, tile); next = imageOf(next))
            if (std::lexicographical_compare(next.first, next.first + axes(), tile.first,
                                             tile.first + axes()))
                return false;
        return true;
    }

    void runInCycles(unsigned char* data) {
        forEachTile([&](const Tile& first) {
            if (!leads(first))
                return;
            Tile tile = first;
            gather(blocks_[0], data, tile);
            for (;;) {
                const Tile next = imageOf(tile);
                const bool isLast = isSame(next, first);
                if (!isLast)
                    gather(blocks_[1], data, next);
                scatter(data, blocks_[0], tile);
                if (isLast)
                    return;
                std::swap(blocks_[0], blocks_[1]);
                tile = next;
            }
        });
    }

    void runFromCopy(unsigned char* data) {
        if (!copy_)
            copy_.reset(static_cast<unsigned char*>(ztmalloc(static_cast<std::size_t>(bytes_))));
        std::memcpy(copy_.get(), data, static_cast<std::size_t>(bytes_));
        forEachTile([&](const Tile& tile) {
            gather(blocks_[0], copy_.get(), tile);
            scatter(data, blocks_[0], tile);
        });
    }

    Permutation permutation_;
    Offset size_;
    Offset bytes_ = 0;
    Offset sourceStride_[kMostAxes];
    Offset targetStride_[kMostAxes];
    Offset side_[kMostAxes] = {};
    int order_[kMostAxes] = {};
    Offset pitch_ = 0;
    Offset blockBytes_ = 0;
    Block allocation_;
    Block copy_;
    unsigned char* blocks_[2];
};

/// Permutes each of `arrays` arrays that lie one after the other.
void runAll(const Permutation& permutation, unsigned char* data, Offset arrays, Offset size) {
    Mover mover(permutation, static_cast<std::size_t>(size));
    for (Offset i = 0; i < arrays; ++i)
        mover.run(data + i * mover.bytes());
}

/// Whether three axes of equal sizes change places in a ring. Lines of all three directions would
/// have to stay in the caches then, where those a power of two apart displace each other;
/// exchanging two axes twice takes half the time.
bool isRing(const Permutation& permutation) {
    return permutation.axes == 3 && permutation.keepsSizes() && permutation.from[0] != 0 &&
           permutation.from[permutation.from[0]] != 0;
}

/// Reads the request; false when it is none, or larger than the address space.
bool readRequest(const int* dims, const int* permutation, int n, Offset size,
                 Permutation& request) {
    if (n < 1 || n > kMostAxes || !isPermutation(permutation, n))
        return false;
    request.axes = n;
    Offset bytes = size;
    for (int i = 0; i < n; ++i) {
        request.from[i] = permutation[i];
        request.size[i] = dims[i];
        if (dims[i] < 0 || (dims[i] > 0 && bytes > PTRDIFF_MAX / dims[i]))
            return false;
        bytes *= std::max(dims[i], 1);
    }
    return true;
}

}  // namespace

bool ZtRawData::swapDims(ZtTypedPointer data, int* dims, const int* permutation, int n) {
    const int size = data.primType().size();
    if (size == 0 || data.primType() == ZtPrimType::STRING) {
        rawdata::reportUnsupported(data.primType(), "::swapDims()");
        return false;
    }
    Permutation request;
    if (!readRequest(dims, permutation, n, size, request))
        return false;
    const bool isEmpty = std::count(dims, dims + n, 0) > 0;
    Permutation moved = simplified(request, true);
    // Axes that were joined may not change places in cycles any more.
    if (!moved.keepsSizes() && request.keepsSizes())
        moved = simplified(request, false);
    if (!isEmpty && !moved.isIdentity()) {
        // Outer axes that stay where they are count arrays that are permuted one by one.
        Offset arrays = 1;
        while (moved.from[moved.axes - 1] == moved.axes - 1)
            arrays *= moved.size[--moved.axes];
        auto* const bytes = static_cast<unsigned char*>(static_cast<void*>(data));
        if (isRing(moved)) {
            Permutation inner = moved;
            Permutation outer = moved;
            std::copy_n(std::begin({1, 0, 2}), 3, inner.from);
            std::copy_n(std::begin({0, 2, 1}), 3, outer.from);
            const bool isInnerFirst = moved.from[0] == 1;
            runAll(isInnerFirst ? inner : outer, bytes, arrays, size);
            runAll(isInnerFirst ? outer : inner, bytes, arrays, size);
        } else {
            runAll(moved, bytes, arrays, size);
        }
    }
    for (int i = 0; i < n; ++i)
        dims[i] = static_cast<int>(request.size[permutation[i]]);
    return true;
}
