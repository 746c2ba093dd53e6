// The pooled allocator: random requests against a model on one and on several threads, what it
// gives back and when, what it does without memory, and misuse.
#include <gtest/gtest.h>
#include <ztlib/ZtPooledAllocator.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "PoolForTest.h"
#include "Random.h"
#include "core/pool/SystemPages.h"

#if defined(__unix__)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

constexpr std::size_t kMega = std::size_t{1} << 20;
// What a pool of the same work has at most beside its blocks.
constexpr std::size_t kSlack = 2 * kMega;

struct Block {
    unsigned char* bytes;
    std::size_t size;
    unsigned char fill;
};

// Blocks in use, each filled with a byte of its own.
class Model {
public:
    Model(nedpool* pool, unsigned seed, std::size_t most = 300000)
        : pool_(pool), most_(most), random_(seed) {}
    ~Model() {
        while (!blocks_.empty())
            nedpfree(pool_, take().bytes);
    }

    void run(int steps) {
        for (int i = 0; i < steps && !testing::Test::HasFatalFailure(); ++i)
            step();
    }
    void exchange(std::vector<Block>& others) { blocks_.swap(others); }

private:
    void step() {
        const std::size_t size = randomSize();
        const int operation = blocks_.empty() ? 0 : random_.below(16);
        if (operation < 7) {
            void* const block =
                operation < 6 ? nedpmalloc(pool_, size) : nedpcalloc(pool_, 1 + size / 8, 8);
            EXPECT_TRUE(operation < 6 || isFilled(static_cast<unsigned char*>(block), size, 0));
            add(block, size);
        } else if (operation == 7) {
            const std::size_t alignment = std::size_t{1} << random_.below(18);
            add(nedpmemalign(pool_, alignment, size), size, alignment);
        } else if (operation == 8) {
            std::size_t sizes[] = {size % 5000, 0, randomSize() % 5000};
            void* chunks[3];
            ASSERT_EQ(chunks, nedpindependent_comalloc(pool_, 3, sizes, chunks));
            for (int i = 0; i < 3; ++i)
                add(chunks[i], sizes[i]);
        } else if (operation < 11) {
            Block block = take();
            const std::size_t wanted = 1 + (operation == 9 ? size : block.size * 3 / 2);
            block.bytes = static_cast<unsigned char*>(nedprealloc(pool_, block.bytes, wanted));
            ASSERT_NE(nullptr, block.bytes);
            EXPECT_TRUE(isFilled(block.bytes, std::min(block.size, wanted), block.fill));
            add(block.bytes, wanted);
        } else {
            nedpfree(pool_, take().bytes);
        }
    }

    std::size_t randomSize() {
        const std::size_t bounds[] = {64, 500, 1000, 1000, 5000, 5000, 40000, 300000};
        const std::size_t bound = std::min(random_.of(bounds), most_);
        return random_.bits() % (random_.below(64) ? bound : std::min(300 * most_, 3 * kMega));
    }

    void add(void* block, std::size_t size, std::size_t alignment = 16) {
        ASSERT_NE(nullptr, block);
        ASSERT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % alignment);
        const std::size_t usable = nedblksize(block);  // all of it is used
        ASSERT_GE(usable, size);
        const auto fill = static_cast<unsigned char>(random_.bits());
        std::memset(block, fill, usable);
        blocks_.push_back({static_cast<unsigned char*>(block), usable, fill});
    }

    Block take() {
        std::swap(random_.of(blocks_), blocks_.back());
        const Block block = blocks_.back();
        blocks_.pop_back();
        EXPECT_TRUE(isFilled(block.bytes, block.size, block.fill)) << "bytes of a block were lost";
        return block;
    }

    nedpool* pool_;
    std::size_t most_;
    Random random_;
    std::vector<Block> blocks_;
};

TEST(PooledAllocator, RandomRequestsAgreeWithTheModel) {
    const PoolForTest pool;
    for (nedpool* used : {static_cast<nedpool*>(nullptr), pool.get()}) {
        const std::size_t before = nedpmalloc_footprint(used);
        for (unsigned seed = 1; seed <= 3; ++seed) {
            SCOPED_TRACE(seed);
            Model(used, seed).run(1500);
        }
        nedpmalloc_trim(used, 0);
        EXPECT_LE(nedpmalloc_footprint(used), before + kSlack);
    }
}

TEST(PooledAllocator, EdgeRequests) {
    EXPECT_EQ(nullptr, nedmalloc(SIZE_MAX));
    EXPECT_EQ(ENOMEM, errno);
    nedfree(nullptr);
    EXPECT_EQ(0u, nedblksize(nullptr));
    EXPECT_EQ(nullptr, nedrealloc(nedrealloc(nullptr, 100), 0));
    const std::size_t half = SIZE_MAX / 2 + 1;
    std::size_t sizes[] = {10, half};
    void* block = nedmalloc(20 * kMega);
    for (void* refused : {nedcalloc(half, 2), nedcalloc(3, SIZE_MAX / 2), nedmemalign(SIZE_MAX, 1),
                          nedmemalign(4096, SIZE_MAX - 100), nedrealloc(block, SIZE_MAX),
                          static_cast<void*>(nedindependent_calloc(half, 4, nullptr)),
                          static_cast<void*>(nedindependent_comalloc(2, sizes, nullptr))})
        EXPECT_EQ(nullptr, refused);
    block = nedrealloc(block, 100000);  // gives up what is behind
    EXPECT_LT(nedblksize(block), 200000u);
    nedfree(block);
    for (const std::size_t alignment : {0u, 3u, 4096u, 70000u, 5u << 20})
        for (const std::size_t size : {0u, 100u, 40000u, 3u << 20}) {
            block = nedmemalign(alignment, size);
            ASSERT_NE(nullptr, block);
            EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % std::bit_ceil(alignment));
            std::memset(block, 1, size);
            nedfree(block);
        }
    void** const blocks = nedindependent_calloc(2, 100, nullptr);
    EXPECT_EQ(0, static_cast<char*>(blocks[1])[99]);
    for (void* each : {blocks[0], blocks[1], static_cast<void*>(blocks), nedmalloc(0),
                       static_cast<void*>(nedindependent_comalloc(0, nullptr, nullptr))}) {
        EXPECT_NE(nullptr, each);
        nedfree(each);
    }
    EXPECT_EQ(1, nedmallopt(-1, 100 << 20));
    EXPECT_EQ(0, nedmallopt(-3, 1));
    EXPECT_EQ(1, nedmallopt(-1, 256 << 20));
}

// The memory that the process has, or 0 where that cannot be known: the thread sanitizer adds much
// of its own for each byte that is touched, and keeps it.
std::size_t residentBytes() {
    [[maybe_unused]] std::size_t total = 0;
    std::size_t resident = 0;
#if defined(__linux__) && !defined(__SANITIZE_THREAD__)
    std::ifstream("/proc/self/statm") >> total >> resident;
#endif
    return resident * 4096;
}

TEST(PooledAllocator, TrimGivesMemoryBack) {
    const PoolForTest pool;
    const std::size_t size = 64 * kMega;
    for (const std::size_t each : {100u, 3000u, 50000u, 8u << 20}) {
        SCOPED_TRACE(each);
        const std::size_t before = residentBytes();
        std::vector<void*> blocks(size / each);
        for (void*& block : blocks)
            std::memset(block = nedpmalloc(pool.get(), each), 1, each);
        const std::size_t full = residentBytes();
        EXPECT_GE(nedpmalloc_footprint(pool.get()), size / each * each);
        void* const last = blocks.back();
        blocks.pop_back();
        for (void* block : blocks)
            nedfree(block);
        EXPECT_EQ(1, nedpmalloc_trim(pool.get(), 0));
        EXPECT_EQ(0, nedpmalloc_trim(pool.get(), 0));
        EXPECT_LE(nedpmalloc_footprint(pool.get()), each + kSlack);
        if (full > 0) {
            EXPECT_GE(full, before + size * 9 / 10);
            EXPECT_LE(residentBytes(), before + size / 4);
        }
        nedfree(last);
        nedpmalloc_trim(pool.get(), 0);
    }
}

TEST(PooledAllocator, FreeMemoryIsKeptUpToABoundAndForAWhile) {
    const PoolForTest pool;
    const auto freeBlocks = [&](std::size_t size, int count) {
        std::vector<void*> blocks(static_cast<std::size_t>(count));
        for (void*& block : blocks)
            block = nedpmalloc(pool.get(), size);
        for (void* block : blocks)
            nedfree(block);
    };
    nedpmallopt(pool.get(), -1, 20 << 20);
    freeBlocks(8 * kMega, 5);
    EXPECT_GE(nedpmalloc_footprint(pool.get()), 16 * kMega);
    EXPECT_LE(nedpmalloc_footprint(pool.get()), 20 * kMega + kSlack);
    EXPECT_EQ(1, nedpmalloc_trim(pool.get(), 8 * kMega));
    EXPECT_GE(nedpmalloc_footprint(pool.get()), 8 * kMega);
    EXPECT_LE(nedpmalloc_footprint(pool.get()), 8 * kMega + kSlack);
    {
        // Long after, the next request finds that nobody needed the rest.
        const pool::ClockAhead later(60000);
        freeBlocks(8 * kMega, 1);
    }
    EXPECT_LE(nedpmalloc_footprint(pool.get()), 8 * kMega + kSlack);
}

TEST(PooledAllocator, KeptMemoryServesWhenMemoryRunsOut) {
    const PoolForTest pool, other;
    nedfree(nedpmalloc(pool.get(), 32 * kMega));
    nedfree(nedpmalloc(other.get(), 16 * kMega));
    const std::size_t reserved = pool::MemoryLimit::reserved();
    const pool::MemoryLimit limit(0);
    void* const block = nedpmalloc(pool.get(), 44 * kMega);
    EXPECT_NE(nullptr, block);
    EXPECT_LE(pool::MemoryLimit::reserved(), reserved);
    EXPECT_EQ(nullptr, nedpmalloc(pool.get(), 44 * kMega));
    nedfree(block);
}

TEST(PooledAllocator, ExhaustedMemoryIsNullAndLosesNothing) {
    const PoolForTest pool;
    for (std::size_t allowed = 0; allowed < 6 * kMega; allowed += 128 << 10) {
        SCOPED_TRACE(allowed);
        const pool::MemoryLimit limit(allowed);
        std::vector<void*> blocks;
        for (std::size_t size = 16; size < 8 * kMega; size = size * 5 / 4) {
            std::size_t sizes[] = {size, 2 * size};
            if (void* chunks[2]; nedpindependent_comalloc(pool.get(), 2, sizes, chunks))
                blocks.insert(blocks.end(), chunks, chunks + 2);
            for (void* block : {nedpmalloc(pool.get(), size), nedpcalloc(pool.get(), 1, size),
                                nedpmemalign(pool.get(), 4096, size)})
                if (block) {
                    std::memset(block, 1, size);
                    void* const grown = nedprealloc(pool.get(), block, 2 * size);
                    blocks.push_back(grown ? grown : block);
                }
        }
        neddestroypool(nedcreatepool(kMega, 1));
        for (void* block : blocks)
            nedfree(block);
        nedpmalloc_trim(pool.get(), 0);
        EXPECT_LE(nedpmalloc_footprint(pool.get()), kSlack);
    }
    Model(pool.get(), 99).run(500);
}

TEST(PooledAllocator, ManyPoolsHaveTheirOwnBlocksAndValues) {
    int value = 0;
    nedsetvalue(&value);
    void* const plain = nedmalloc(10);
    const std::size_t before = pool::MemoryLimit::reserved();
    std::vector<nedpool*> pools(300);
    for (nedpool*& pool : pools)
        nedpsetvalue(pool = nedcreatepool(&pool < &pools[5] ? 10 * kMega : 0, 1), &pool);
    for (const std::size_t first : {0u, 1u})
        for (std::size_t i = first; i < pools.size(); i += 2) {
            for (const std::size_t size : {10u, 1000u, 100000u, i < 9 ? 5000000u : 0u})
                EXPECT_EQ(&pools[i], nedgetvalue(nedpmalloc(pools[i], size)));
            neddestroypool(pools[i]);
        }
    EXPECT_LE(pool::MemoryLimit::reserved(), before + 2 * kSlack) << "a pool left something behind";
    EXPECT_EQ(&value, nedgetvalue(plain));
    neddestroypool(nullptr);
    nedpsetvalue(nullptr, nullptr);
    EXPECT_EQ(nullptr, nedgetvalue(nullptr));
    nedfree(plain);
}

TEST(PooledAllocator, MisuseIsABrokenContract) {
    if (!kChecked)
        GTEST_SKIP() << "not a checked build";
    const ContractCapture capture;
    const PoolForTest pool, other;
    int local = 0;
    EXPECT_THROW(nedfree(&local), BrokenContract);
    EXPECT_THROW(nedrealloc(&local, 10), BrokenContract);
    EXPECT_THROW(nedblksize(&local), BrokenContract);
    for (const std::size_t size : {10u, 5000u, 100000u, 9000000u}) {
        SCOPED_TRACE(size);
        auto* const block = static_cast<char*>(nedpmalloc(pool.get(), size));
        EXPECT_THROW(nedfree(block + 1), BrokenContract);
        EXPECT_THROW(nedpfree(other.get(), block), BrokenContract);
        nedfree(block);
        EXPECT_THROW(nedfree(block), BrokenContract);
        EXPECT_THROW(nedrealloc(block, 1), BrokenContract);
        nedpmalloc_trim(pool.get(), 0);
        EXPECT_THROW(nedfree(block), BrokenContract);
    }
}

TEST(PooledAllocator, StatisticsNameTheFootprintAndTheBlocks) {
    const PoolForTest pool;
    neddisablethreadcache(pool.get());
    nedpmalloc(pool.get(), 3 * kMega);
    void* const small = nedpmalloc(pool.get(), 100);
    testing::internal::CaptureStderr();
    nedpmalloc_stats(pool.get());
    const std::string text = testing::internal::GetCapturedStderr();
    for (const std::size_t number : {nedpmalloc_footprint(pool.get()), 3 * kMega + (64u << 10)})
        EXPECT_NE(std::string::npos, text.find(std::to_string(number))) << text;
    EXPECT_NE(std::string::npos, text.find(" " + std::to_string(nedblksize(small)) + " (")) << text;
}

void runOnThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

// Takes and frees blocks of mostly small sizes, as a thread's cache keeps them.
Model smallModel(nedpool* pool, int seed) {
    return Model(pool, static_cast<unsigned>(seed), 600);
}

TEST(PooledAllocatorThreads, FreeEachOthersBlocksAndLeaveNothingBehind) {
    const PoolForTest pool;
    nedpool* const used[] = {nullptr, pool.get()};
    std::mutex mutex;
    std::vector<Block> handedOver[2];
    const auto work = [&](int i) {
        Model model = smallModel(used[i % 2], i);
        if (i == 1)
            neddisablethreadcache(pool.get());
        for (int round = 0; round < 60; ++round) {
            model.run(50);
            const std::lock_guard locked(mutex);
            model.exchange(handedOver[i % 2]);
        }
    };
    runOnThreads(8, work);
    runOnThreads(8, work);  // with what the first have left
    for (const int i : {0, 1})
        Model(used[i], 0).exchange(handedOver[i]);
    // All is back in the pool, what threads kept that have ended, too.
    nedpmalloc_trim(pool.get(), 0);
    EXPECT_LE(nedpmalloc_footprint(pool.get()), kMega);
}

TEST(PooledAllocatorThreads, DestructorsThatRunAfterTheCachesAreGone) {
    struct Late {
        ~Late() {
            nedfree(block);
            nedfree(nedmalloc(100));
        }
        void* block = nullptr;
    };
    runOnThreads(2, [](int) {
        static thread_local Late late;
        late.block = nedmalloc(100);
    });
}

// Where threads wait for each other; waiting in std::barrier may never end on Windows.
class Meeting {
public:
    explicit Meeting(int threads) : threads_(threads) {}

    void wait() {
        std::unique_lock locked(mutex_);
        const int round = round_;
        if (++arrived_ % threads_ == 0) {
            ++round_;
            all_.notify_all();
        }
        all_.wait(locked, [&] { return round_ != round; });
    }

private:
    const int threads_;
    int arrived_ = 0;
    int round_ = 0;
    std::mutex mutex_;
    std::condition_variable all_;
};

TEST(PooledAllocatorThreads, PoolsComeAndGoWhileThreadsLive) {
    nedpool* pool = nullptr;
    Meeting turn(4);
    runOnThreads(4, [&](int i) {
        for (int round = 0; round < 30; ++round) {
            if (i == 0)
                pool = nedcreatepool(0, 3);
            turn.wait();
            smallModel(pool, 3 * round + i).run(300);
            smallModel(nullptr, round).run(100);
            nedpmalloc(pool, 40);  // goes with the pool
            turn.wait();
            if (i == 0)
                neddestroypool(pool);
        }
    });
}

#if defined(__unix__)
// Asks nobody else for memory: a sanitizer's allocator may be locked in the child of a fork.
bool takesAndFrees(nedpool* pool) {
    unsigned char* blocks[50] = {};
    bool isGood = true;
    for (std::size_t step = 0; step < 500; ++step) {
        unsigned char*& block = blocks[7 * step % 50];
        const std::size_t size = 7 * step % 50 == 0 ? 200000 : 12 * (7 * step % 50);
        if (block) {
            isGood = isGood && isFilled(block, size, 9);
            nedpfree(pool, block);
            block = nullptr;
        } else {
            block = static_cast<unsigned char*>(nedpmalloc(pool, size));
            std::memset(block, 9, size);
        }
    }
    return isGood;
}

TEST(PooledAllocatorThreads, ForksWhileOthersAllocate) {
    const PoolForTest pool;
    nedpool* const used[] = {nullptr, pool.get()};
    std::atomic<bool> isOver{false};
    runOnThreads(4, [&](int i) {
        while (i > 0 && !isOver)
            smallModel(used[i % 2], i).run(200);
        for (int round = 0; i == 0 && round < 20; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                const bool isGood = takesAndFrees(nullptr) && takesAndFrees(pool.get());
                nedmalloc_trim(0);
                _exit(isGood ? 0 : 1);
            }
            int status = -1;
            EXPECT_EQ(child, waitpid(child, &status, 0));
            EXPECT_EQ(0, status);
        }
        isOver = isOver || i == 0;
    });
}
#endif

}  // namespace
