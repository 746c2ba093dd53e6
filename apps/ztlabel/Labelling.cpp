#include "Labelling.h"

#include "Failure.h"
#include "Host.h"
#include "LabelCodes.h"
#include "Mask.h"
#include "Threshold.h"

#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtProgressInterface.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ztlabel {

namespace {

using Records = ZtDArray<ZtConnectedComponents::Component>;

// Of the stage's progress; the rest goes to measuring and arranging.
constexpr float kLabellingShare = 0.6f;
constexpr int kMostNarrow = 64998;
constexpr int kMostWide = 9999998;

[[noreturn]] void failForTooMany(const char* things) {
    throw Failure("more than " + std::to_string(kMostWide) + " " + things +
                  ": too many to be labelled");
}

void noteWide(const char* things, const Messages& messages) {
    messages.note("more than " + std::to_string(kMostNarrow) + " " + things +
                  ": labelled with 32 bits");
}

/// Labels first with 16 bits, then, when there are too many components for these, with 32. Both
/// functions return the number of components or -1.
template <class Narrow, class Wide>
int labelNarrowOrWide(Narrow narrow, Wide wide, const char* things, const Messages& messages) {
    int count = -1;
    {
        const host::StandardErrorDropped dropped;  // the library's word about too many
        count = narrow();
    }
    if (count >= 0)
        return count;
    noteWide(things, messages);
    {
        const host::StandardErrorDropped dropped;
        count = wide();
    }
    if (count < 0)
        failForTooMany(things);
    return count;
}

LabelVolume labelForeground(const Foreground& foreground, const Volume& volume, int connectivity,
                            Records& records, const Messages& messages) {
    const StoredThreshold& lower = foreground.lower;
    const StoredThreshold& upper = foreground.upper;
    if (lower.none) {
        LabelVolume empty(volume.voxelCount(), false);
        empty.visit([&](auto* labels) { std::memset(labels, 0, empty.sizeInBytes()); });
        records.resize(1);
        records[0] = {};
        return empty;
    }
    unsigned short* narrow = nullptr;
    int* wide = nullptr;
    // Where no value reaches the upper threshold the marks are those of any other and not used.
    const double mark = upper.none ? lower.value : upper.value;
    labelNarrowOrWide(
        [&] {
            return ZtConnectedComponents::labelCC(foreground.voxels, volume.dims(), connectivity,
                                                  narrow, 0, lower.value, mark, 0, 0, &records,
                                                  nullptr);
        },
        [&] {
            ztfree(narrow);
            narrow = nullptr;
            return ZtConnectedComponents::labelCCHuge(foreground.voxels, volume.dims(),
                                                      connectivity, wide, 0, lower.value, mark, 0,
                                                      0, &records, nullptr);
        },
        "components", messages);
    return wide != nullptr ? LabelVolume(volume.voxelCount(), wide)
                           : LabelVolume(volume.voxelCount(), narrow);
}

LabelVolume labelCodes(unsigned char* codes, const Volume& volume, int connectivity,
                       const Messages& messages) {
    Records records;
    LabelVolume labels(volume.voxelCount(), false);
    labelNarrowOrWide(
        [&] {
            return ZtConnectedComponents::labelLabels(codes, volume.dims(), connectivity,
                                                      labels.narrow(), 0, 0, records, nullptr);
        },
        [&] {
            labels = LabelVolume(volume.voxelCount(), true);
            return ZtConnectedComponents::labelLabelsHuge(codes, volume.dims(), connectivity,
                                                          labels.wide(), 0, 0, records, nullptr);
        },
        "pieces", messages);
    return labels;
}

/// Joins the pieces that several rounds find, numbered in the raster order of first voxels.
LabelVolume labelInRounds(const LabelCodes& coder, const Volume& volume, int connectivity,
                          const Messages& messages, ZtProgressInterface& progress) {
    const std::size_t voxelCount = volume.voxelCount();
    const Block codeBlock = allocate(voxelCount, 1);
    auto* const codes = static_cast<unsigned char*>(codeBlock.get());
    LabelVolume joined(voxelCount, true);
    const LabelVolume found(voxelCount, true);
    int* const all = joined.wide();
    long long base = 0;
    Records records;
    for (int round = 0; round < coder.roundCount(); ++round) {
        coder.codesOfRound(round, codes);
        const host::StandardErrorDropped dropped;
        if (ZtConnectedComponents::labelLabelsHuge(codes, volume.dims(), connectivity, found.wide(),
                                                   0, 0, records, nullptr) < 0)
            failForTooMany("pieces");
        // The pieces of code 0 belong to other rounds.
        std::vector<int> numberOf(static_cast<std::size_t>(records.size()));
        for (int i = 1; i < records.size(); ++i)
            if (records[i].mark != 0)
                numberOf[static_cast<std::size_t>(i)] = static_cast<int>(++base);
        if (base > kMostWide)
            failForTooMany("pieces");
        for (std::size_t i = 0; i < voxelCount; ++i)
            if (codes[i] != 0)
                all[i] = numberOf[static_cast<std::size_t>(found.wide()[i])];
        progress.setProgressValue(static_cast<float>(round + 1) /
                                  static_cast<float>(coder.roundCount()) * kLabellingShare);
    }
    if (base > kMostNarrow)
        noteWide("pieces", messages);

    std::vector<int> inOrder(static_cast<std::size_t>(base) + 1);
    int next = 0;
    for (std::size_t i = 0; i < voxelCount; ++i) {
        int& number = inOrder[static_cast<std::size_t>(all[i])];
        if (number == 0)
            number = ++next;
        all[i] = number;
    }
    return joined;
}

LabelVolume labelPieces(const Volume& volume, int connectivity, const Messages& messages,
                        ZtProgressInterface& progress) {
    if (!volume.isExact())
        throw Failure(
            "the values of this label field lie beyond 2^53 and cannot all be told apart");
    if (volume.type() == ZtPrimType::BYTE)
        return labelCodes(static_cast<unsigned char*>(static_cast<void*>(volume.voxels())), volume,
                          connectivity, messages);
    const LabelCodes coder(volume, connectivity);
    messages.detail(std::to_string(coder.valueCount()) +
                    " different values, labelled as bytes in " +
                    std::to_string(coder.roundCount()) + " round(s)");
    if (coder.roundCount() > 1)
        return labelInRounds(coder, volume, connectivity, messages, progress);
    const Block codes = allocate(volume.voxelCount(), 1);
    coder.codesOfRound(0, static_cast<unsigned char*>(codes.get()));
    return labelCodes(static_cast<unsigned char*>(codes.get()), volume, connectivity, messages);
}

/// Adds a run of voxels of one row to a component.
void addRun(Component& component, int first, int last, int y, int z) {
    const long long n = last - first + 1;
    if (component.voxels == 0) {
        const int box[6] = {first, last, y, y, z, z};
        std::copy(box, box + 6, component.box);
    }
    component.voxels += n;
    component.sum[0] += n * (static_cast<long long>(first) + last) / 2;
    component.sum[1] += n * y;
    component.sum[2] += n * z;
    component.box[0] = std::min(component.box[0], first);
    component.box[1] = std::max(component.box[1], last);
    component.box[2] = std::min(component.box[2], y);
    component.box[3] = std::max(component.box[3], y);
    component.box[5] = z;
}

/// Entry i holds component i; entry 0 the background, unmeasured. The sums are taken anew because
/// the library stores the nearest floats, and boxes and exact values take a pass over the labels
/// anyway.
ZtDArray<Component> measure(const LabelVolume& volume, const int* dims) {
    ZtDArray<Component> components;
    components.push(Component());
    volume.visit([&](const auto* row) {
        for (int z = 0; z < dims[2]; ++z)
            for (int y = 0; y < dims[1]; ++y, row += dims[0])
                for (int x = 0; x < dims[0];) {
                    const int number = row[x];
                    const int first = x;
                    while (x < dims[0] && row[x] == row[first])
                        ++x;
                    if (number == 0)
                        continue;
                    while (number >= components.size()) {  // in raster order: at most one more
                        components.push(Component());
                        components.last().number = components.size() - 1;
                    }
                    addRun(components[number], first, x - 1, y, z);
                }
    });
    return components;
}

/// The value of each piece is that of its first voxel.
void findSources(const Volume& volume, const LabelVolume& labelVolume,
                 ZtDArray<Component>& components) {
    volume.visit([&](const auto* voxels) {
        labelVolume.visit([&](const auto* labels) {
            int known = 0;
            for (std::size_t i = 0; known + 1 < components.size(); ++i)
                if (static_cast<int>(labels[i]) > known)
                    components[++known].source = volume.scaled(voxels[i]);
        });
    });
}

int bySize(const Component& a, const Component& b) {
    if (a.voxels != b.voxels)
        return a.voxels > b.voxels ? -1 : 1;
    return a.number - b.number;
}

/// Keeps what the options say and gives it its labels, in the volume, too.
void arrange(Labelling& result, ZtDArray<Component>& all, const Options& options) {
    ZtDArray<Component>& kept = result.components;
    for (int i = 1; i < all.size(); ++i)
        if (all[i].voxels >= options.minSize)
            kept.push(all[i]);
    if (options.sortBySize || options.largestOnly)
        kept.sort(bySize);
    if (options.largestOnly && kept.size() > 1)
        kept.resize(1);

    std::vector<int> labelOf(static_cast<std::size_t>(all.size()));
    bool unchanged = kept.size() == all.size() - 1;
    for (int i = 0; i < kept.size(); ++i) {
        kept[i].label = i + 1;
        unchanged = unchanged && kept[i].number == i + 1;
        labelOf[static_cast<std::size_t>(kept[i].number)] = i + 1;
    }
    LabelVolume& volume = result.labels;
    if (!unchanged)
        volume.visit([&](auto* labels) {
            using L = std::remove_reference_t<decltype(*labels)>;
            std::transform(labels, labels + volume.voxelCount(), labels, [&](L label) {
                return static_cast<L>(labelOf[static_cast<std::size_t>(label)]);
            });
        });
    if (volume.isWide() && kept.size() <= std::numeric_limits<unsigned short>::max())
        volume.makeNarrow();
}

}  // namespace

Labelling label(const Volume& volume, const Options& options, const Messages& messages,
                ZtProgressInterface& progress) {
    const int connectivity = options.connectivityFor(volume.is2D());
    const double threshold = options.otsu ? otsuThreshold(volume) : options.threshold.value_or(0);
    StoredThreshold upper{true, 0};
    if (options.upper)
        upper = storedThreshold(volume, *options.upper);

    Records records;
    const auto labelMask = [&] {
        const Foreground foreground =
            foregroundOf(volume, storedThreshold(volume, threshold), upper, options);
        return labelForeground(foreground, volume, connectivity, records, messages);
    };
    LabelVolume labels =
        options.labelField ? labelPieces(volume, connectivity, messages, progress) : labelMask();
    progress.setProgressValue(kLabellingShare);

    ZtDArray<Component> all = measure(labels, volume.dims());
    Labelling result{std::move(labels), {}, all.size() - 1, 0, 0, threshold};
    if (options.labelField)
        findSources(volume, result.labels, all);
    else if (all.size() != records.size())
        throw Failure("internal error: labels and component records disagree");
    for (int i = 1; i < all.size(); ++i) {
        if (!upper.none)
            all[i].marked = records[i].mark;
        result.foreground += all[i].voxels;
        result.marked += all[i].marked;
    }
    progress.setProgressValue(0.8f);
    arrange(result, all, options);
    return result;
}

}  // namespace ztlabel
