// The pooled allocator on several threads; meant for the thread sanitizer as well.
#include <gtest/gtest.h>
#include <ztlib/ZtPooledAllocator.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "PoolForTest.h"

#if defined(__unix__)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

constexpr std::size_t kMega = std::size_t{1} << 20;

void runOnThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

struct Block {
    unsigned char* bytes;
    std::size_t size;
};

Block fill(void* block, std::size_t size, int value) {
    std::memset(block, value, size);
    return {static_cast<unsigned char*>(block), size};
}

// Takes and frees blocks of all kinds of sizes; false when a byte was not what it was set to.
bool takeAndFree(nedpool* pool, unsigned seed, int steps) {
    std::mt19937 random(seed);
    std::vector<Block> blocks;
    const int value = static_cast<int>(seed % 250) + 1;
    bool isGood = true;
    for (int step = 0; step < steps; ++step) {
        if (blocks.size() < 50 || random() % 2) {
            const std::size_t size = random() % (random() % 50 ? 600 : 200000);
            blocks.push_back(fill(nedpmalloc(pool, size), size, value));
        } else {
            std::swap(blocks[random() % blocks.size()], blocks.back());
            isGood = isFilled(blocks.back().bytes, blocks.back().size, value) && isGood;
            nedpfree(pool, blocks.back().bytes);
            blocks.pop_back();
        }
    }
    for (const Block& block : blocks) {
        isGood = isFilled(block.bytes, block.size, value) && isGood;
        nedpfree(pool, block.bytes);
    }
    return isGood;
}

TEST(PooledAllocatorThreads, RandomSizesOnEightThreads) {
    const PoolForTest pool;
    std::atomic<bool> isGood{true};
    runOnThreads(8, [&](int i) {
        if (!takeAndFree(i % 2 ? pool.get() : nullptr, static_cast<unsigned>(i), 3000))
            isGood = false;
    });
    EXPECT_TRUE(isGood);
}

TEST(PooledAllocatorThreads, ConsumersFreeWhatProducersTake) {
    constexpr int kBatches = 200, kBatch = 100;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::vector<Block>> queue;
    std::atomic<bool> isGood{true};
    runOnThreads(4, [&](int i) {
        for (int batch = 0; batch < kBatches; ++batch) {
            std::vector<Block> blocks;
            if (i % 2 == 0) {
                for (int n = 0; n < kBatch; ++n) {
                    const auto size = static_cast<std::size_t>(16 + (n * 37 + batch) % 500);
                    blocks.push_back(fill(nedmalloc(size), size, 5));
                }
                const std::lock_guard locked(mutex);
                queue.push_back(std::move(blocks));
                changed.notify_one();
            } else {
                {
                    std::unique_lock locked(mutex);
                    changed.wait(locked, [&] { return !queue.empty(); });
                    blocks = std::move(queue.front());
                    queue.pop_front();
                }
                for (const Block& block : blocks) {
                    if (!isFilled(block.bytes, block.size, 5))
                        isGood = false;
                    nedfree(block.bytes);
                }
            }
        }
    });
    EXPECT_TRUE(isGood);
}

TEST(PooledAllocatorThreads, EndingThreadsLeaveNothingBehind) {
    const PoolForTest pool;
    for (int round = 0; round < 10; ++round)
        runOnThreads(4, [&](int i) {
            if (i == 0)
                neddisablethreadcache(pool.get());
            takeAndFree(pool.get(), static_cast<unsigned>(i), 2000);
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
    std::mutex mutex;
    std::condition_variable changed;
    nedpool* pool = nullptr;
    int generation = 0, working = 0;
    bool isOver = false;
    std::vector<std::thread> threads;
    std::atomic<bool> isGood{true};
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&, i] {
            for (int seen = 0;;) {
                nedpool* mine;
                {
                    std::unique_lock locked(mutex);
                    changed.wait(locked, [&] { return isOver || generation != seen; });
                    if (isOver)
                        return;
                    seen = generation;
                    mine = pool;
                }
                if (!takeAndFree(mine, static_cast<unsigned>(seen * 3 + i), 300) ||
                    !takeAndFree(nullptr, static_cast<unsigned>(seen), 100))
                    isGood = false;
                nedpmalloc(mine, 40);  // goes with the pool
                const std::lock_guard locked(mutex);
                --working;
                changed.notify_all();
            }
        });
    for (int round = 0; round < 30; ++round) {
        nedpool* const next = nedcreatepool(0, 3);
        std::unique_lock locked(mutex);
        pool = next;
        ++generation;
        working = 3;
        changed.notify_all();
        changed.wait(locked, [&] { return working == 0; });
        neddestroypool(pool);
    }
    {
        const std::lock_guard locked(mutex);
        isOver = true;
        changed.notify_all();
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(isGood);
}

#if defined(__unix__)
TEST(PooledAllocatorThreads, ForksWhileOthersAllocate) {
    const PoolForTest pool;
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 3; ++i)
        threads.emplace_back([&, i] {
            while (!isOver)
                takeAndFree(i % 2 ? pool.get() : nullptr, i, 200);
        });
    for (unsigned round = 0; round < 20; ++round) {
        const Block block = fill(nedpmalloc(pool.get(), 300), 300, 9);
        const pid_t child = fork();
        if (child == 0) {
            const bool isGood = takeAndFree(pool.get(), round, 500) &&
                                takeAndFree(nullptr, round, 500) && isFilled(block.bytes, 300, 9);
            nedfree(block.bytes);
            nedmalloc_trim(0);
            _exit(isGood ? 0 : 1);
        }
        ASSERT_GT(child, 0);
        int status = -1;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        EXPECT_EQ(0, status);
        nedfree(block.bytes);
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
}
#endif

}  // namespace
