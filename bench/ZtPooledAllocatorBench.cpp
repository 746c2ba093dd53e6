// The pooled allocator against the system's and against the allocators that one would load instead,
// each at the same work: last-in first-out, at random with few and many blocks, on two threads,
// from one thread to another, growing, volumes; and the memory that is left after mixed work.
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Allocators.h"
#include "Compare.h"

namespace {

using bench::Allocator;

class Random {
public:
    explicit Random(std::uint32_t seed) : state_(seed) {}
    std::uint32_t operator()() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }
    std::uint32_t below(std::uint32_t bound) {
        return static_cast<std::uint32_t>(std::uint64_t{(*this)()} * bound >> 32);
    }

private:
    std::uint32_t state_;
};

std::size_t smallSize(Random& random) {
    return 16 + random.below(497);
}

// Takes a block and writes to it, as whoever asked for it does.
char* take(const Allocator& allocator, std::size_t size) {
    char* const block = static_cast<char*>(allocator.allocate(size));
    *block = 1;
    return block;
}

// The last block taken is the first freed: eight deep.
void lastInFirstOut(const Allocator& allocator) {
    char* blocks[8];
    for (std::size_t size = 16; size <= 512; size += 16) {
        for (char*& block : blocks)
            block = take(allocator, size);
        for (int i = 7; i >= 0; --i)
            allocator.release(blocks[i]);
    }
}

// A number of blocks in use, of which any is freed and replaced.
class LiveBlocks {
public:
    LiveBlocks(const Allocator& allocator, std::uint32_t count)
        : allocator_(allocator), blocks_(count) {
        for (char*& block : blocks_)
            block = take(allocator_, smallSize(random_));
    }
    ~LiveBlocks() {
        for (char* block : blocks_)
            allocator_.release(block);
    }
    LiveBlocks(const LiveBlocks&) = delete;
    LiveBlocks& operator=(const LiveBlocks&) = delete;

    void replace(int times) {
        for (int i = 0; i < times; ++i) {
            char*& block = blocks_[random_.below(static_cast<std::uint32_t>(blocks_.size()))];
            allocator_.release(block);
            block = take(allocator_, smallSize(random_));
        }
    }

private:
    const Allocator allocator_;
    Random random_{20240501};
    std::vector<char*> blocks_;
};

void onTwoThreads(const Allocator& allocator) {
    const auto work = [&allocator] { LiveBlocks(allocator, 1000).replace(200000); };
    std::thread other(work);
    work();
    other.join();
}

// One thread takes blocks and hands them, a thousand at a time, to the other, which frees them.
void fromThreadToThread(const Allocator& allocator) {
    constexpr int kBatches = 400, kAhead = 8;
    struct Batch {
        std::atomic<bool> isFull{false};
        char* blocks[1000];
    };
    const auto waitUntil = [](const Batch& batch, bool isFull) {
        while (batch.isFull.load(std::memory_order_acquire) != isFull)
            std::this_thread::yield();
    };
    const auto batches = std::make_unique<Batch[]>(kAhead);
    std::thread consumer([&] {
        for (int i = 0; i < kBatches; ++i) {
            Batch& batch = batches[static_cast<std::size_t>(i % kAhead)];
            waitUntil(batch, true);
            for (char* block : batch.blocks)
                allocator.release(block);
            batch.isFull.store(false, std::memory_order_release);
        }
    });
    Random random(7);
    for (int i = 0; i < kBatches; ++i) {
        Batch& batch = batches[static_cast<std::size_t>(i % kAhead)];
        waitUntil(batch, false);
        for (char*& block : batch.blocks)
            block = take(allocator, smallSize(random));
        batch.isFull.store(true, std::memory_order_release);
    }
    consumer.join();
}

constexpr std::size_t kLine = 64, kPage = 4096;

void touch(char* bytes, std::size_t from, std::size_t to, std::size_t step = kLine) {
    for (std::size_t i = from; i < to; i += step)
        bytes[i] = 1;
}

// From 16 bytes by half as much again to 1 MB, what is new each time written to.
void grow(const Allocator& allocator) {
    std::size_t size = 16;
    char* block = take(allocator, size);
    while (size < (std::size_t{1} << 20)) {
        const std::size_t grown = size * 3 / 2;
        block = static_cast<char*>(allocator.resize(block, grown));
        touch(block, size, grown);
        size = grown;
    }
    allocator.release(block);
}

// Volumes that are taken, written to and freed in turn: one byte of each page, which is what having
// memory costs, or of each line, which takes the memory's time as well.
template <std::size_t Step>
void volumes(const Allocator& allocator) {
    for (std::size_t megabytes : {4u, 32u, 48u}) {
        const std::size_t size = megabytes << 20;
        char* const block = static_cast<char*>(allocator.allocate(size));
        touch(block, 0, size, Step);
        allocator.release(block);
    }
}

/// Always the same block, which has its pages: writing to it is the least that volumes cost.
Allocator keptVolume() {
    return {"a kept block", "",
            [](std::size_t) -> void* {
                static void* const block = nedmalloc(std::size_t{48} << 20);
                return block;
            },
            nullptr, [](void*) {}};
}

// Blocks of all sizes come and go, more and then fewer of them; some stay.
void mixedRun(const Allocator& allocator) {
    Random random(99);
    std::vector<char*> blocks;
    for (int phase = 0; phase < 6; ++phase) {
        const std::size_t wanted = phase % 2 ? 30000 : 100000;
        for (int step = 0; step < 400000; ++step) {
            if (blocks.size() < wanted) {
                const std::uint32_t kind = random.below(1000);
                const std::size_t size = kind < 980   ? smallSize(random)
                                         : kind < 999 ? 512 + random.below(32000)
                                                      : 32000 + random.below(1000000);
                char* const block = static_cast<char*>(allocator.allocate(size));
                touch(block, 0, size);
                blocks.push_back(block);
            }
            if (blocks.size() > wanted || random.below(2)) {
                std::swap(blocks[random.below(static_cast<std::uint32_t>(blocks.size()))],
                          blocks.back());
                allocator.release(blocks.back());
                blocks.pop_back();
            }
        }
    }
}

long residentBytes() {
    long total = 0, resident = 0;
    if (std::FILE* const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%ld %ld", &total, &resident) != 2)
            resident = 0;
        std::fclose(file);
    }
    return resident * sysconf(_SC_PAGESIZE);
}

constexpr const char* kResidentRun = "--resident-after-mixed-run-of";

// The bytes that a new process has more after the mixed run than before.
double residentAfterMixedRun(const Allocator& allocator) {
    char program[4096] = "";
    if (readlink("/proc/self/exe", program, sizeof program - 1) < 0)
        return 0;
    const std::string command =
        "'" + std::string(program) + "' " + kResidentRun + " '" + allocator.library + "'";
    double more = 0;
    if (std::FILE* const output = popen(command.c_str(), "r")) {
        if (std::fscanf(output, "%lf", &more) != 1)
            more = 0;
        pclose(output);
    }
    return more;
}

void printResident(const std::string& library) {
    std::vector<std::string> missing;
    std::vector<Allocator> all = bench::otherAllocators(missing);
    all.push_back(bench::oursAllocator());
    all.push_back(bench::systemAllocator());
    for (const Allocator& allocator : all)
        if (allocator.library == library) {
            const long before = residentBytes();
            mixedRun(allocator);
            std::printf("%ld\n", residentBytes() - before);
        }
}

void addResident(const Allocator& ours, const Allocator& peer, double bar) {
    benchmark::RegisterBenchmark(("pool, memory after a mixed run, against " + peer.name).c_str(),
                                 [ours, peer, bar](benchmark::State& state) {
                                     double oursBytes = 0, peerBytes = 0;
                                     for (auto _ : state) {
                                         oursBytes = residentAfterMixedRun(ours);
                                         peerBytes = residentAfterMixedRun(peer);
                                     }
                                     state.counters["ours_MB"] = oursBytes / 1e6;
                                     state.counters["peer_MB"] = peerBytes / 1e6;
                                     state.counters["ratio"] =
                                         oursBytes > 0 ? peerBytes / oursBytes : 0;
                                     state.counters["bar"] = bar;
                                     state.SetLabel("peer: " + peer.name);
                                 })
        ->Iterations(1);
}

struct Bars {
    double oneThread, twoThreads, threadToThread, growing, volumes, memory;
};

void addAll(const Allocator& ours, const Allocator& peer, const Bars& bars) {
    const auto add = [&](const char* work, double bar, auto run) {
        bench::add({"pool, " + std::string(work) + ", against " + peer.name,
                    peer.name,
                    bar,
                    [=] { run(ours); },
                    [=] { run(peer); },
                    {}});
    };
    add("last in first out", bars.oneThread, lastInFirstOut);
    for (const std::uint32_t count : {1000u, 100000u}) {
        const auto oursLive = std::make_shared<std::unique_ptr<LiveBlocks>>();
        const auto peerLive = std::make_shared<std::unique_ptr<LiveBlocks>>();
        const auto replace = [count](auto& live, const Allocator& allocator) {
            if (!*live)
                *live = std::make_unique<LiveBlocks>(allocator, count);
            (*live)->replace(100000);
        };
        bench::add(
            {"pool, at random with " + std::to_string(count) + " in use, against " + peer.name,
             peer.name,
             bars.oneThread,
             [=] { replace(oursLive, ours); },
             [=] { replace(peerLive, peer); },
             {}});
    }
    add("at random on two threads", bars.twoThreads, onTwoThreads);
    add("from thread to thread", bars.threadToThread, fromThreadToThread);
    add("growing to 1 MB", bars.growing, grow);
    add("volumes of 4, 32 and 48 MB, pages touched", bars.volumes, volumes<kPage>);
    add("volumes of 4, 32 and 48 MB, lines written", bars.volumes, volumes<kLine>);
    addResident(ours, peer, bars.memory);
}

// One of the others needs more room for its threads' variables than the system leaves to libraries
// that are loaded late, unless it is told before the program starts.
void startAgainWithRoom(char** argv) {
    constexpr const char* kSetting = "GLIBC_TUNABLES";
    if (std::getenv(kSetting))
        return;
    setenv(kSetting, "glibc.rtld.optional_static_tls=16384", 1);
    execv("/proc/self/exe", argv);
}

}  // namespace

int main(int argc, char** argv) {
    startAgainWithRoom(argv);
    if (argc == 3 && argv[1] == std::string(kResidentRun)) {
        printResident(argv[2]);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    const Allocator ours = bench::oursAllocator();
    addAll(ours, bench::systemAllocator(), {1.7, 0, 4, 0.9, 8, 0});
    bench::add(
        {"writing alone, volumes of 4, 32 and 48 MB, lines written, against the system's malloc",
         "the system's malloc",
         0,
         [kept = keptVolume()] { volumes<kLine>(kept); },
         [peer = bench::systemAllocator()] { volumes<kLine>(peer); },
         {}});
    std::vector<std::string> missing;
    for (const Allocator& other : bench::otherAllocators(missing))
        addAll(ours, other, {0.9, 0.9, 0.8, 0, 0, other.name == "mimalloc" ? 1 / 1.3 : 0});
    for (const std::string& name : missing)
        std::fprintf(stderr, "%s is not installed: no comparison with it\n", name.c_str());
    benchmark::RunSpecifiedBenchmarks();
}
