// Erosion and dilation against copying the mask, against the form that looks at single voxels,
// against scipy.ndimage and OpenCV.
#include <ztlib/ZtMorphology.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>

#include "Compare.h"
#include "ScriptPeer.h"

#ifdef ZT_HAS_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using ZtMorphology::erosion3D;

/// Overlapping balls: smooth bodies of many sizes, a third of the grid.
ZtBitfield bodies(const ZtVec3i& dims) {
    ZtBitfield mask(static_cast<unsigned>(dims.x) * static_cast<unsigned>(dims.y) *
                    static_cast<unsigned>(dims.z));
    std::mt19937 engine(11);
    const auto below = [&](int n) { return static_cast<int>(engine() % static_cast<unsigned>(n)); };
    const long long volume = static_cast<long long>(dims.x) * dims.y * dims.z;
    for (long long filled = 0; filled < volume / 3;) {
        const int radius = 3 + below(20);
        const ZtVec3i c(below(dims.x), below(dims.y), below(dims.z));
        for (int z = std::max(0, c.z - radius); z < std::min(dims.z, c.z + radius); ++z)
            for (int y = std::max(0, c.y - radius); y < std::min(dims.y, c.y + radius); ++y) {
                const int rest = radius * radius - (y - c.y) * (y - c.y) - (z - c.z) * (z - c.z);
                const int half = rest > 0 ? static_cast<int>(std::sqrt(rest)) : 0;
                const int from = std::max(0, c.x - half), to = std::min(dims.x, c.x + half);
                if (from >= to)
                    continue;
                const unsigned row =
                    static_cast<unsigned>(dims.x) * static_cast<unsigned>(y + dims.y * z);
                mask.setRange(row + static_cast<unsigned>(from),
                              row + static_cast<unsigned>(to) - 1);
                filled += to - from;
            }
    }
    return mask;
}

std::string nameOf(const ZtVec3i& dims) {
    return std::to_string(dims.x) + " x " + std::to_string(dims.y) + " x " + std::to_string(dims.z);
}

struct Work {
    ZtVec3i dims;
    ZtBitfield mask, ours, peer;

    explicit Work(const ZtVec3i& itsDims)
        : dims(itsDims), mask(bodies(itsDims)), ours(mask), peer(mask) {}
};

void addAgainstCopy(const ZtVec3i& dims, double bar) {
    const auto work = std::make_shared<Work>(dims);
    bench::add({"erosion, one step, " + nameOf(dims),
                "memory copy of the mask",
                bar,
                [=] { erosion3D(work->mask, work->ours, dims); },
                [=] {
                    std::memcpy(work->peer.words(), work->mask.words(), work->mask.memSize());
                    benchmark::DoNotOptimize(work->peer.words());
                },
                {}});
}

void addAgainstVoxels(const ZtVec3i& dims, double bar) {
    const auto work = std::make_shared<Work>(dims);
    bench::add({"erosion, one step, " + nameOf(dims), "voxel by voxel", bar,
                [=] { erosion3D(work->mask, work->ours, dims); },
                [=] { erosion3D(work->mask, work->peer, dims, 1, false); },
                [=] { return work->ours == work->peer; }},
               5);
}

/// A width that is a multiple of 32 as the peer of one that is not, with nearly as many voxels: the
/// ratio is that of the time per voxel.
void addAgainstEvenWidth(const ZtVec3i& odd, const ZtVec3i& even, double bar) {
    const auto work = std::make_shared<Work>(odd), peer = std::make_shared<Work>(even);
    bench::add({"erosion, one step, " + nameOf(odd),
                "the same, " + nameOf(even),
                bar,
                [=] { erosion3D(work->mask, work->ours, odd); },
                [=] { erosion3D(peer->mask, peer->ours, even); },
                {}});
}

void addIterations(const ZtVec3i& dims, int steps, double bar) {
    const auto work = std::make_shared<Work>(dims);
    bench::add({"erosion, " + std::to_string(steps) + " steps, " + nameOf(dims), "single steps",
                bar, [=] { erosion3D(work->mask, work->ours, dims, steps); },
                [=] {
                    ZtBitfield other(work->mask.nBits());
                    erosion3D(work->mask, work->peer, dims);
                    for (int i = 1; i < steps; ++i) {
                        std::swap(work->peer, other);
                        erosion3D(other, work->peer, dims);
                    }
                },
                [=] { return work->ours == work->peer; }});
}

bench::ScriptResult erodeByScipy(const Work& work) {
    const std::string raw = "scipy_erosion.raw";
    {
        std::ofstream file(raw, std::ios::binary);
        for (unsigned i = 0; i < work.mask.nBits(); ++i)
            file.put(static_cast<char>(work.mask[i]));
    }
    const bench::ScriptResult result =
        bench::runScript("scipy_erosion.py " + raw + " " + std::to_string(work.dims.x) + " " +
                         std::to_string(work.dims.y) + " " + std::to_string(work.dims.z));
    std::remove(raw.c_str());
    return result;
}

void addAgainstScipy(const ZtVec3i& dims, double bar) {
    const std::string name = "erosion, one step, " + nameOf(dims) + ", against scipy";
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
            Work work(dims);
            const bench::ScriptResult peer = erodeByScipy(work);
            erosion3D(work.mask, work.ours, dims);
            if (peer.seconds != 0 && work.ours.nSetBits() != static_cast<unsigned>(peer.count))
                state.SkipWithError("ours and the peer gave different answers");
            bench::runAgainst(state, "scipy.ndimage.binary_erosion", peer.seconds, bar,
                              [&] { erosion3D(work.mask, work.ours, dims); });
        })
        ->Iterations(15)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

#ifdef ZT_HAS_OPENCV
void addAgainstOpenCv(int size, double bar) {
    const auto work = std::make_shared<Work>(ZtVec3i(size, size, 1));
    const auto bytes = std::make_shared<cv::Mat>(size, size, CV_8U);
    const auto eroded = std::make_shared<cv::Mat>();
    for (unsigned i = 0; i < work->mask.nBits(); ++i)
        bytes->data[i] = static_cast<unsigned char>(work->mask[i]);
    bench::add({"erosion, 3 x 3, " + std::to_string(size) + " x " + std::to_string(size),
                "cv::erode on bytes", bar,
                [=] { ZtMorphology::erosion2D_8(work->mask, work->ours, ZtVec2i(size, size)); },
                [=] { cv::erode(*bytes, *eroded, cv::Mat()); },
                [=] {
                    for (unsigned i = 0; i < work->ours.nBits(); ++i)
                        if (work->ours[i] != eroded->data[i])
                            return false;
                    return true;
                }});
}
#endif

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    addAgainstCopy(ZtVec3i(512, 512, 512), 0.55);
    addAgainstEvenWidth(ZtVec3i(500, 500, 537), ZtVec3i(512, 512, 512), 1 / 1.6);
    addAgainstEvenWidth(ZtVec3i(250, 256, 2097), ZtVec3i(256, 256, 2048), 1 / 1.6);
    addAgainstEvenWidth(ZtVec3i(511, 512, 513), ZtVec3i(512, 512, 512), 1 / 1.6);
    addAgainstVoxels(ZtVec3i(512, 512, 512), 150);
    addAgainstScipy(ZtVec3i(512, 512, 512), 500);
    addIterations(ZtVec3i(256, 256, 256), 5, 1);
#ifdef ZT_HAS_OPENCV
    cv::setNumThreads(1);
    addAgainstOpenCv(4096, 10);
#endif
    benchmark::RunSpecifiedBenchmarks();
}
