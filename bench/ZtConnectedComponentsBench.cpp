// Labelling against its plain form, against the time that reading and writing alone take, against
// itself on larger grids and into fresh memory, and against scipy.ndimage.
#include <malloc.h>
#include <ztlib/ZtConnectedComponents.h>

#include <cstdio>
#include <fstream>
#include <limits>

#include "Compare.h"
#include "ScriptPeer.h"
#include "VolumeData.h"
#include "imageproc/Components.h"

using namespace ZtConnectedComponents;
using bench::Elements;
using bench::Volume;

namespace {

/// Labels a volume into labels of its own. 32 bits wide where noise has too many components.
template <class Label>
struct Work {
    Volume volume;
    int connectivity;
    Elements<Label> labels;
    Elements<std::uint16_t> copy;
    ZtDArray<Component> list;
    int count = 0;

    Work(const Volume& itsVolume, int itsConnectivity)
        : volume(itsVolume),
          connectivity(itsConnectivity),
          labels(itsVolume.voxels.size()),
          copy(itsVolume.voxels.size()) {}

    Label* labelInto(Label* out) {
        const ZtTypedPointer data(volume.voxels.data());
        if constexpr (sizeof(Label) == 2)
            count = labelCC(data, volume.dims, connectivity, out, 0, volume.lower, volume.upper, 0,
                            0, &list, nullptr);
        else
            count = labelCCHuge(data, volume.dims, connectivity, out, 0, volume.lower, volume.upper,
                                0, 0, &list, nullptr);
        return out;
    }

    void label() { labelInto(labels.data()); }

    void labelIntoFresh() { ztfree(labelInto(nullptr)); }

    /// What no labelling can do without: read the input once and write the labels once.
    void touchMemory() {
        std::memcpy(copy.data(), volume.voxels.data(), copy.size() * sizeof copy[0]);
        std::fill_n(labels.data(), labels.size(), Label{1});
        benchmark::DoNotOptimize(labels[labels.size() / 2]);
    }
};

/// The pieces of an atlas.
struct FieldWork {
    Volume volume;
    int connectivity;
    Elements<unsigned char> field;
    Elements<unsigned char> copy;
    Elements<unsigned short> labels;
    ZtDArray<Component> list;
    int count = 0;

    FieldWork(const Volume& itsVolume, int itsConnectivity)
        : volume(itsVolume),
          connectivity(itsConnectivity),
          field(itsVolume.voxels.size()),
          copy(itsVolume.voxels.size()),
          labels(itsVolume.voxels.size()) {
        std::copy_n(volume.voxels.data(), field.size(), field.data());
    }

    void label() {
        count = labelLabels(field.data(), volume.dims, connectivity, labels.data(), 0, 0, list,
                            nullptr);
    }

    void touchMemory() {
        std::memcpy(copy.data(), field.data(), copy.size());
        std::fill_n(labels.data(), labels.size(), static_cast<unsigned short>(1));
        benchmark::DoNotOptimize(labels[labels.size() / 2]);
    }
};

constexpr double within(double times) {
    return 1 / times;
}

/// Registers a benchmark that makes its work when it runs, so that only one is in memory at a time.
template <class Make, class Describe>
void add(const std::string& name, const Make& make, const Describe& describe, int rounds = 15) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     auto work = make();
                                     bench::run(state, describe(work));
                                 })
        ->Iterations(rounds)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

template <class AnyWork>
void addAgainstPlainAndBound(const Volume& volume, int connectivity, double plainBar,
                             double boundBar) {
    const std::string name = volume.name + ", connectivity " + std::to_string(connectivity);
    const auto make = [=] { return AnyWork(volume, connectivity); };
    add(
        name + ", against voxel by voxel", make,
        [=](AnyWork& work) {
            return bench::Comparison{"",
                                     "plain form",
                                     plainBar,
                                     [&] { work.label(); },
                                     [&] {
                                         components::useForm(components::Form::kPlain);
                                         work.label();
                                         components::useForm(components::Form::kAutomatic);
                                     },
                                     nullptr};
        },
        7);
    add(name + ", against touching the memory", make, [=](AnyWork& work) {
        return bench::Comparison{
            "",     "copy and fill", boundBar, [&] { work.label(); }, [&] { work.touchMemory(); },
            nullptr};
    });
}

template <class Label>
void addFreshLabels(const Volume& volume, int connectivity) {
    add(
        volume.name + ", connectivity " + std::to_string(connectivity) +
            ", into labels that the call allocates",
        [=] { return Work<Label>(volume, connectivity); },
        [](Work<Label>& work) {
            return bench::Comparison{"",
                                     "into warm labels",
                                     within(1.5),
                                     [&] { work.labelIntoFresh(); },
                                     [&] { work.label(); },
                                     nullptr};
        });
}

/// Time per voxel at 512^3 against that at 128^3, which is labelled 64 times.
template <class Make>
void addGrowth(const std::string& kind, const Make& make, int connectivity) {
    using Works = std::pair<Work<std::uint16_t>, Work<std::uint16_t>>;
    add(
        kind + ", connectivity " + std::to_string(connectivity) + ", 512^3 against 64 times 128^3",
        [=] {
            return Works{{make(512), connectivity}, {make(128), connectivity}};
        },
        [](Works& works) {
            return bench::Comparison{"",
                                     "128^3",
                                     within(1.3),
                                     [&] { works.first.label(); },
                                     [&] {
                                         for (int i = 0; i < 64; ++i)
                                             works.second.label();
                                     },
                                     nullptr};
        },
        5);
}

bench::ScriptResult labelByScipy(const Volume& volume, int connectivity) {
    const std::string raw = "scipy_label.raw";
    std::ofstream(raw, std::ios::binary)
        .write(reinterpret_cast<const char*>(volume.voxels.data()),
               static_cast<std::streamsize>(volume.voxels.size() * 2));
    char arguments[100];
    std::snprintf(arguments, sizeof arguments, " %d %d %d %d %g", volume.dims[0], volume.dims[1],
                  volume.dims[2], connectivity, volume.lower);
    const bench::ScriptResult result = bench::runScript("scipy_label.py " + raw + arguments);
    std::remove(raw.c_str());
    return result;
}

template <class Label>
void addAgainstScipy(const Volume& volume, int connectivity, double bar) {
    const std::string name = volume.name + ", connectivity " + std::to_string(connectivity) +
                             ", against scipy.ndimage.label";
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
            Work<Label> work(volume, connectivity);
            const bench::ScriptResult peer = labelByScipy(volume, connectivity);
            work.label();
            if (peer.seconds != 0 && work.count != peer.count)
                state.SkipWithError("ours and the peer gave different answers");
            bench::runAgainst(state, "scipy.ndimage.label", peer.seconds, bar,
                              [&] { work.label(); });
        })
        ->Iterations(15)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

/// A line of /proc/self/status in bytes.
double processStatus(const char* key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, std::strlen(key), key) == 0)
            return std::atof(line.c_str() + std::strlen(key) + 1) * 1024;
    return 0;
}

/// Work space beyond input and labels against a quarter of the labels' bytes.
void addWorkSpace(const Volume& volume, int connectivity) {
    const std::string name =
        volume.name + ", connectivity " + std::to_string(connectivity) + ", work space";
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
            Work<std::uint16_t> work(volume, connectivity);
            work.label();
            double peak = 0;
            for (auto _ : state) {
                malloc_trim(0);                                 // gives back what is free
                std::ofstream("/proc/self/clear_refs") << "5";  // makes the peak the current size
                const double before = processStatus("VmRSS:");
                work.label();
                peak = std::max(peak, processStatus("VmHWM:") - before);
                state.SetIterationTime(1e-9);
            }
            const double quarter = static_cast<double>(work.labels.size()) * 2 / 4;
            state.counters["ours_bytes"] = peak;
            state.counters["ratio"] = quarter / std::max(peak, 1.0);
            state.counters["bar"] = 1;
            state.SetLabel("peer: a quarter of the labels' bytes");
        })
        ->Iterations(3)
        ->UseManualTime();
}

}  // namespace

int main(int argc, char** argv) {
    using U16 = std::uint16_t;
    constexpr int kSide = 256;
    {
        const Volume dense = bench::noise(kSide, kSide, kSide, 50);
        const Volume sparse = bench::noise(kSide, kSide, kSide, 15);
        const Volume smooth = bench::blobs(kSide, kSide, kSide, 4);
        // Faces alone leave more components of noise than short labels can number.
        addAgainstPlainAndBound<Work<int>>(dense, 6, 4, within(13));
        addAgainstPlainAndBound<Work<U16>>(dense, 26, 25, within(6));
        addAgainstPlainAndBound<Work<int>>(sparse, 6, 1.7, 0);
        addAgainstPlainAndBound<Work<U16>>(sparse, 26, 3.5, 0);
        addAgainstPlainAndBound<Work<U16>>(smooth, 6, 9, within(5));
        addAgainstPlainAndBound<Work<U16>>(smooth, 26, 20, within(5));
        addFreshLabels<U16>(smooth, 6);
        addFreshLabels<U16>(smooth, 26);
        addFreshLabels<U16>(dense, 26);
        addFreshLabels<int>(dense, 6);
        addAgainstScipy<int>(dense, 6, 9);
        addAgainstScipy<U16>(dense, 26, 9);
        addAgainstScipy<U16>(smooth, 6, 12);
        addAgainstScipy<U16>(smooth, 26, 12);
    }
    if (const auto scan = bench::realVolume("ch2better.nii.gz", 50, 100)) {
        addAgainstPlainAndBound<Work<U16>>(*scan, 6, 9, 0);
        addAgainstPlainAndBound<Work<U16>>(*scan, 26, 20, 0);
        addFreshLabels<U16>(*scan, 26);
        addWorkSpace(*scan, 6);
        addWorkSpace(*scan, 26);
        addAgainstScipy<U16>(*scan, 6, 12);
        addAgainstScipy<U16>(*scan, 26, 12);
    } else {
        std::puts("skipped: the real volumes (mricron-data is not installed)");
    }
    for (const char* const name : {"aal.nii.gz", "jhu189.nii.gz"}) {
        if (const auto atlas = bench::realVolume(name, 0, 0)) {
            addAgainstPlainAndBound<FieldWork>(*atlas, 6, 12, within(8));
            addAgainstPlainAndBound<FieldWork>(*atlas, 26, 18, within(8));
        }
    }
    const auto denseCube = [](int n) { return bench::noise(n, n, n, 50); };
    const auto smoothCube = [](int n) { return bench::blobs(n, n, n, 4); };
    addGrowth("50 % noise", denseCube, 26);
    addGrowth("smooth blobs", smoothCube, 6);
    addGrowth("smooth blobs", smoothCube, 26);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
