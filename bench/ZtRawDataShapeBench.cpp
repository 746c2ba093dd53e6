// Down-sampling and axis exchange of a volume of 512 x 512 x 512 elements of each type: against a
// plain copy of the bytes that must be read and written, and against scipy and numpy.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "Compare.h"
#include "ScriptPeer.h"

namespace {

constexpr int kSide = 512;
constexpr std::size_t kVoxels = std::size_t{kSide} * kSide * kSide;
constexpr int kDims[3] = {kSide, kSide, kSide};

using Block = std::unique_ptr<unsigned char, void (*)(void*)>;

Block allocate(std::size_t bytes) {
    Block block(static_cast<unsigned char*>(ztmalloc(bytes)), ztfree);
    std::memset(block.get(), 0, bytes);
    return block;
}

/// A volume, room for results and what the peer copies to.
struct Work {
    ZtPrimType type;
    std::size_t bytes;
    Block volume, result, copy;

    explicit Work(ZtPrimType itsType)
        : type(itsType),
          bytes(kVoxels * static_cast<std::size_t>(itsType.size())),
          volume(allocate(bytes)),
          result(allocate(bytes / 8)),
          copy(allocate(bytes)) {
        // Smooth stretches of labels, of which a tenth of the voxels lie beside another one.
        std::unique_ptr<unsigned char[]> labels(new unsigned char[kVoxels]);
        for (std::size_t i = 0; i < kVoxels; ++i) {
            const std::size_t x = i % kSide;
            const std::size_t y = i / kSide % kSide;
            const std::size_t z = i / kSide / kSide;
            labels[i] =
                static_cast<unsigned char>((x + y / 3) / 37 * 5 + (y + z / 2) / 41 + z / 53);
        }
        // Small enough for both signs.
        const ZtPrimType filled = type == ZtPrimType::SBYTE  ? ZtPrimType::BYTE
                                  : type == ZtPrimType::UINT ? ZtPrimType::INT
                                                             : type;
        ZtRawData::memcpy({volume.get(), filled}, labels.get(), static_cast<int>(kVoxels));
    }

    ZtTypedPointer source() const { return {volume.get(), type}; }

    /// Moves as many bytes as reading `read` and writing `written` of them does.
    void touch(std::size_t read, std::size_t written) const {
        std::memcpy(copy.get(), volume.get(), (read + written) / 2);
        benchmark::DoNotOptimize(copy.get());
    }
};

constexpr double within(double times) {
    return 1 / times;
}

/// Registers a benchmark that makes its work when it runs, so that only one is in memory at a time.
template <class Describe>
void add(const std::string& name, ZtPrimType type, Describe describe) {
    const std::string full = name + ", " + type.getName();
    benchmark::RegisterBenchmark(full.c_str(),
                                 [=](benchmark::State& state) {
                                     const auto work = std::make_shared<Work>(type);
                                     bench::run(state, describe(work));
                                 })
        ->Iterations(7)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

using Down = void (*)(void*, ZtTypedPointer, const int*, const int*, ZtProgressInterface*);

void addDown(const std::string& name, Down down, ZtPrimType type) {
    add(name + " by 2 x 2 x 2, against a memory copy", type, [=](std::shared_ptr<Work> work) {
        return bench::Comparison{"",
                                 "a memory copy",
                                 within(2),
                                 [=] {
                                     constexpr int kTwo[3] = {2, 2, 2};
                                     down(work->result.get(), work->source(), kDims, kTwo, nullptr);
                                 },
                                 [=] { work->touch(work->bytes, work->bytes / 8); },
                                 nullptr};
    });
}

void addSwap(const std::string& name, int a, int b, int c, ZtPrimType type) {
    add("exchange axes " + name + ", against a memory copy", type, [=](std::shared_ptr<Work> work) {
        return bench::Comparison{"",
                                 "a memory copy",
                                 within(2),
                                 [=] {
                                     const int permutation[3] = {a, b, c};
                                     int dims[3] = {kSide, kSide, kSide};
                                     ZtRawData::swapDims(work->source(), dims, permutation, 3);
                                 },
                                 [=] { work->touch(work->bytes, work->bytes); },
                                 nullptr};
    });
}

/// Reads and writes all that a ring of three axes must in one pass, cubes of rows of 128 bytes that
/// go to each other's places, and permutes nothing.
void moveCubes(const Work& work) {
    const auto size = static_cast<std::size_t>(work.type.size());
    const std::size_t row = 128;
    const std::size_t side = row / size;
    const std::size_t cubes = kSide / side;
    const std::unique_ptr<unsigned char[]> block(new unsigned char[3 * side * side * row]);
    const auto forEachRow = [&](std::size_t x, std::size_t y, std::size_t z, auto move) {
        for (std::size_t dz = 0; dz < side; ++dz)
            for (std::size_t dy = 0; dy < side; ++dy)
                move(work.volume.get() +
                     (((z * side + dz) * kSide + y * side + dy) * kSide + x * side) * size);
    };
    for (std::size_t z = 0; z < cubes; ++z)
        for (std::size_t y = 0; y < cubes; ++y)
            for (std::size_t x = 0; x < cubes; ++x) {
                // The cube with the least place moves those of its ring.
                const auto place = [&](std::size_t a, std::size_t b, std::size_t c) {
                    return (c * cubes + b) * cubes + a;
                };
                if (place(x, y, z) > std::min(place(y, z, x), place(z, x, y)))
                    continue;
                const std::size_t ring[5] = {x, y, z, x, y};
                const std::size_t length = x == y && y == z ? 1 : 3;
                unsigned char* at = block.get();
                for (std::size_t i = 0; i < length; ++i)
                    forEachRow(ring[i], ring[i + 1], ring[i + 2], [&](const unsigned char* from) {
                        std::memcpy(at, from, row);
                        at += row;
                    });
                at = block.get();
                for (std::size_t i = 0; i < length; ++i)
                    forEachRow(ring[i], ring[i + 1], ring[i + 2], [&](unsigned char* to) {
                        std::memcpy(to, at, row);
                        at += row;
                    });
            }
}

void addRingAlone(ZtPrimType type) {
    add("in a ring in one pass, reads and writes alone, against a memory copy", type,
        [=](std::shared_ptr<Work> work) {
            return bench::Comparison{"",
                                     "a memory copy",
                                     0,
                                     [=] { moveCubes(*work); },
                                     [=] { work->touch(work->bytes, work->bytes); },
                                     nullptr};
        });
}

/// Runs scipy and numpy on as large a volume once, and gives the seconds that they needed as those
/// of the peer.
void addAgainstScipy(const std::string& name, const std::string& work, ZtPrimType type,
                     const std::function<void(const Work&)>& ours) {
    const std::string full = name + ", against scipy or numpy, " + type.getName();
    benchmark::RegisterBenchmark(
        full.c_str(),
        [=](benchmark::State& state) {
            const bench::ScriptResult peer = bench::runScript(
                "scipy_reshape.py " + work + " " + type.getName() + " " + std::to_string(kSide));
            const Work data(type);
            bench::runAgainst(state, "scipy or numpy", peer.seconds, 3, [&] { ours(data); });
        })
        ->Iterations(7)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
    constexpr ZtPrimType::Type kTypes[] = {ZtPrimType::BYTE,   ZtPrimType::SBYTE, ZtPrimType::SHORT,
                                           ZtPrimType::USHORT, ZtPrimType::INT,   ZtPrimType::UINT,
                                           ZtPrimType::FLOAT,  ZtPrimType::DOUBLE};
    for (const ZtPrimType type : kTypes) {
        addDown("mean", &ZtRawData::downSample3D, type);
        if (type.isInteger())
            addDown("labels", &ZtRawData::downSampleLabels3D, type);
        addSwap("x and y", 1, 0, 2, type);
        addSwap("x and z", 2, 1, 0, type);
        addSwap("y and z", 0, 2, 1, type);
        addSwap("in a ring", 1, 2, 0, type);
        addRingAlone(type);
    }
    for (const ZtPrimType type :
         {ZtPrimType::BYTE, ZtPrimType::USHORT, ZtPrimType::FLOAT, ZtPrimType::DOUBLE}) {
        addAgainstScipy("mean by 2 x 2 x 2", "mean", type, [](const Work& work) {
            constexpr int kTwo[3] = {2, 2, 2};
            ZtRawData::downSample3D(work.result.get(), work.source(), kDims, kTwo, nullptr);
        });
        addAgainstScipy("exchange axes x and z", "exchange", type, [](const Work& work) {
            const int permutation[3] = {2, 1, 0};
            int dims[3] = {kSide, kSide, kSide};
            ZtRawData::swapDims(work.source(), dims, permutation, 3);
        });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
