// The pooled allocator: random requests against a model on one and on several threads, what it
// gives back and when, what it does without memory, and misuse.
#include <gtest/gtest.h>
#include <ztlib/ZtPooledAllocator.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <bit>
#include <cerrno>
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

    Model& run(int steps) {
        for (int i = 0; i < steps && !testing::Test::HasFatalFailure(); ++i)
            step();
        return *this;
    }
    void exchange(std::vector<Block>& others) { blocks_.swap(others); }

private:
    void step() {
        const std::size_t size = randomSize();
        const int operation = blocks_.empty() ? 0 : random_.below(16);
        if (operation < 6) {
            add(nedpmalloc(pool_, size), size);
        } else if (operation == 6) {
            void* const zeros = nedpcalloc(pool_, 1 + size / 8, 8);
            EXPECT_TRUE(isFilled(static_cast<unsigned char*>(zeros), size, 0));
            add(zeros, size);
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

TEST(PooledAllocator, RequestsBeyondNumbersAreRefused) {
    const std::size_t half = SIZE_MAX / 2 + 1;
    EXPECT_EQ(nullptr, nedmalloc(SIZE_MAX));
    EXPECT_EQ(ENOMEM, errno);
    void* const block = nedmalloc(10);
    for (void* refused :
         {nedmalloc(half), nedcalloc(half, 2), nedcalloc(3, SIZE_MAX / 2), nedmemalign(SIZE_MAX, 1),
          nedmemalign(4096, SIZE_MAX - 100), nedrealloc(block, SIZE_MAX)})
        EXPECT_EQ(nullptr, refused);
    std::size_t sizes[] = {10, half};
    void* chunks[2];
    for (void** refused :
         {nedindependent_calloc(half, 4, nullptr), nedindependent_calloc(4, half, nullptr),
          nedindependent_comalloc(2, sizes, chunks)})
        EXPECT_EQ(nullptr, refused);
    nedfree(block);
}

TEST(PooledAllocator, EdgeRequests) {
    nedfree(nullptr);
    EXPECT_EQ(0u, nedblksize(nullptr));
    EXPECT_EQ(nullptr, nedrealloc(nedrealloc(nullptr, 100), 0));
    const PoolForTest pool;
    for (const std::size_t alignment : {0u, 1u, 3u, 48u, 4096u, 65536u, 70000u, 5u << 20})
        for (const std::size_t size : {0u, 1u, 100u, 5000u, 40000u, 3u << 20}) {
            auto* const block =
                static_cast<unsigned char*>(nedpmemalign(pool.get(), alignment, size));
            ASSERT_NE(nullptr, block);
            EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % std::bit_ceil(alignment));
            std::memset(block, 1, size);
            nedfree(block);
        }
    void** const blocks = nedindependent_calloc(5, 100, nullptr);
    ASSERT_NE(nullptr, blocks);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(0, static_cast<char*>(blocks[i])[99]);
        nedfree(blocks[i]);
    }
    for (void* none : {nedmalloc(0), static_cast<void*>(nedindependent_comalloc(0, 0, nullptr))}) {
        EXPECT_NE(nullptr, none);
        nedfree(none);
    }
    nedfree(blocks);
    EXPECT_EQ(1, nedmallopt(-1, 100 << 20));
    EXPECT_EQ(0, nedmallopt(-3, 1));
    EXPECT_EQ(1, nedmallopt(-1, 256 << 20));
}

TEST(PooledAllocator, GrowingBlocksKeepTheirBytesAndFreedPages) {
    const PoolForTest pool;
    for (int round = 0; round < 3; ++round) {
        unsigned char* bytes = nullptr;
        const auto resize = [&](std::size_t size) {
            bytes = static_cast<unsigned char*>(bytes ? nedprealloc(pool.get(), bytes, size)
                                                      : nedpmalloc(pool.get(), size));
        };
        std::size_t filled = 0;
        for (std::size_t size = 16; size < 20 * kMega; size = size * 3 / 2) {
            resize(size);
            ASSERT_NE(nullptr, bytes);
            std::memset(bytes + filled, 7, size - filled);
            filled = size;
        }
        EXPECT_TRUE(isFilled(bytes, filled, 7));
        resize(100000);  // gives up what is behind
        EXPECT_LT(nedblksize(bytes), 200000u);
        EXPECT_TRUE(isFilled(bytes, 100000, 7));
        nedfree(bytes);
    }
    nedpmalloc_trim(pool.get(), 0);
    EXPECT_LE(nedpmalloc_footprint(pool.get()), kSlack);
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
    for (const std::size_t each :
         {std::size_t{100}, std::size_t{3000}, std::size_t{50000}, 8 * kMega}) {
        SCOPED_TRACE(std::to_string(each) + " bytes each");
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
    freeBlocks(100000, 1000);
    EXPECT_LE(nedpmalloc_footprint(pool.get()), 40 * kMega + kSlack);
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
        SCOPED_TRACE(std::to_string(allowed) + " bytes allowed");
        const pool::MemoryLimit limit(allowed);
        std::vector<void*> blocks;
        for (std::size_t size = 16; size < 8 * kMega; size = size * 5 / 4)
            for (void* block : {nedpmalloc(pool.get(), size), nedpcalloc(pool.get(), 1, size),
                                nedpmemalign(pool.get(), 4096, size)})
                if (block) {
                    std::memset(block, 1, size);
                    void* const grown = nedprealloc(pool.get(), block, 2 * size);
                    blocks.push_back(grown ? grown : block);
                }
        if (nedpool* const made = nedcreatepool(kMega, 1))
            neddestroypool(made);
        for (void* block : blocks)
            nedfree(block);
        nedpmalloc_trim(pool.get(), 0);
        EXPECT_LE(nedpmalloc_footprint(pool.get()), kSlack);
    }
    Model(pool.get(), 99).run(500);
}

TEST(PooledAllocator, PoolsHaveTheirOwnBlocksAndValues) {
    int values[3];
    nedsetvalue(&values[0]);
    void* const plain = nedmalloc(10);
    const std::size_t before = pool::MemoryLimit::reserved();
    for (int round = 0; round < 20; ++round) {
        nedpool* const a = nedcreatepool(10 * kMega, 4);
        nedpool* const b = nedcreatepool(0, 0);
        nedpsetvalue(a, &values[1]);
        nedpsetvalue(b, &values[2]);
        for (const std::size_t size : {10u, 1000u, 30000u, 100000u, 5000000u}) {
            EXPECT_EQ(&values[1], nedgetvalue(nedpmalloc(a, size)));
            EXPECT_EQ(&values[2], nedgetvalue(nedrealloc(nedpmalloc(b, size), 3 * size)));
            nedfree(nedpcalloc(b, size, 1));
        }
        EXPECT_EQ(&values[0], nedgetvalue(plain));
        EXPECT_EQ(&values[0], nedgetvalue(nullptr));
        neddestroypool(a);
        neddestroypool(b);
    }
    EXPECT_LE(pool::MemoryLimit::reserved(), before + kSlack) << "a pool left something behind";
    neddestroypool(nullptr);
    nedpsetvalue(nullptr, nullptr);
    EXPECT_EQ(nullptr, nedgetvalue(plain));
    nedfree(plain);
}

TEST(PooledAllocator, ManyPoolsAtATime) {
    std::vector<std::pair<nedpool*, void*>> pools(300);
    for (auto& [pool, block] : pools) {
        block = nedpmalloc(pool = nedcreatepool(0, 1), 100);
        nedpsetvalue(pool, &pool);
    }
    for (const bool isFirstPass : {true, false})
        for (std::size_t i = isFirstPass ? 0 : 1; i < pools.size(); i += 2) {
            EXPECT_EQ(&pools[i].first, nedgetvalue(pools[i].second));
            neddestroypool(pools[i].first);
        }
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

TEST(PooledAllocator, StatisticsNameTheFootprint) {
    const PoolForTest pool;
    void* const block = nedpmalloc(pool.get(), 3 * kMega);
    testing::internal::CaptureStderr();
    nedpmalloc_stats(pool.get());
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, text.find(std::to_string(nedpmalloc_footprint(pool.get()))))
        << text;
    EXPECT_NE(std::string::npos, text.find(std::to_string(3 * kMega))) << text;
    nedfree(block);
}

void runOnThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

// Takes and frees blocks of mostly small sizes, as a thread's cache keeps them.
Model smallModel(nedpool* pool, unsigned seed) {
    return Model(pool, seed, 600);
}

TEST(PooledAllocatorThreads, FreeEachOthersBlocks) {
    const PoolForTest pool;
    nedpool* const used[] = {nullptr, pool.get()};
    std::mutex mutex;
    std::vector<Block> handedOver[2];
    runOnThreads(8, [&](int i) {
        Model model = smallModel(used[i % 2], static_cast<unsigned>(i));
        for (int round = 0; round < 60; ++round) {
            model.run(50);
            const std::lock_guard locked(mutex);
            model.exchange(handedOver[i % 2]);
        }
    });
    for (const int i : {0, 1})
        Model(used[i], 0).exchange(handedOver[i]);
}

TEST(PooledAllocatorThreads, EndingThreadsLeaveNothingBehind) {
    const PoolForTest pool;
    for (int round = 0; round < 10; ++round)
        runOnThreads(4, [&](int i) {
            if (i == 0)
                neddisablethreadcache(pool.get());
            smallModel(pool.get(), static_cast<unsigned>(i)).run(2000);
        });
    // All is back in the pool although this thread has freed nothing: what threads kept, too.
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

TEST(PooledAllocatorThreads, PoolsComeAndGoWhileThreadsLive) {
    nedpool* pool = nullptr;
    std::barrier turn(4);
    runOnThreads(4, [&](int i) {
        for (unsigned round = 0; round < 30; ++round) {
            if (i == 0)
                pool = nedcreatepool(0, 3);
            turn.arrive_and_wait();
            smallModel(pool, 3 * round + static_cast<unsigned>(i)).run(300);
            smallModel(nullptr, round).run(100);
            nedpmalloc(pool, 40);  // goes with the pool
            turn.arrive_and_wait();
            if (i == 0)
                neddestroypool(pool);
        }
    });
}

#if defined(__unix__)
TEST(PooledAllocatorThreads, ForksWhileOthersAllocate) {
    const PoolForTest pool;
    nedpool* const used[] = {nullptr, pool.get()};
    std::atomic<bool> isOver{false};
    runOnThreads(4, [&](int i) {
        while (i > 0 && !isOver)
            smallModel(used[i % 2], static_cast<unsigned>(i)).run(200);
        for (unsigned round = 0; i == 0 && round < 20; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                for (nedpool* each : used)
                    smallModel(each, round).run(500);
                nedmalloc_trim(0);
                _exit(testing::Test::HasFailure() ? 1 : 0);
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
