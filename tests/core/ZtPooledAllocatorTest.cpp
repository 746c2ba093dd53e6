// The pooled allocator on one thread: random requests against a model, what it gives back and when,
// what it does without memory, and misuse. `ZtPooledAllocatorThreadsTest.cpp` has the rest.
#include <gtest/gtest.h>
#include <ztlib/ZtPooledAllocator.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "ContractCapture.h"
#include "PoolForTest.h"
#include "core/pool/SystemPages.h"

namespace {

constexpr std::size_t kMega = std::size_t{1} << 20;
// What a pool of the same work has at most beside its blocks.
constexpr std::size_t kSlack = 2 * kMega;

// Blocks in use, each filled with a byte of its own.
class Model {
public:
    explicit Model(nedpool* pool, unsigned seed) : pool_(pool), random_(seed) {}
    ~Model() {
        while (!blocks_.empty())
            free(0);
    }

    void step() {
        const unsigned operation = random_() % 16;
        const std::size_t chosen = blocks_.empty() ? 0 : random_() % blocks_.size();
        if (operation < 6 || blocks_.empty())
            add(nedpmalloc(pool_, size_ = randomSize()), 16);
        else if (operation == 6)
            addZeros(nedpcalloc(pool_, 1 + randomSize() / 8, 8));
        else if (operation == 7)
            addAligned();
        else if (operation == 8)
            addIndependent();
        else if (operation < 11)
            resize(chosen);
        else
            free(chosen);
    }

private:
    struct Block {
        unsigned char* bytes;
        std::size_t size;
        unsigned char fill;
    };

    std::size_t randomSize() {
        static const std::size_t kBounds[] = {64, 500, 1000, 1000, 5000, 5000, 40000, 300000};
        const std::size_t bound = kBounds[random_() % std::size(kBounds)];
        return random_() % (random_() % 64 ? bound : 3 * kMega);
    }

    void add(void* block, std::size_t alignment) {
        ASSERT_NE(nullptr, block);
        ASSERT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % alignment);
        ASSERT_GE(nedblksize(block), size_);
        const auto fill = static_cast<unsigned char>(random_());
        // All that is said to be usable is used.
        const std::size_t usable = nedblksize(block);
        std::memset(block, fill, usable);
        blocks_.push_back({static_cast<unsigned char*>(block), usable, fill});
    }

    void addZeros(void* block) {
        ASSERT_NE(nullptr, block);
        const auto* const bytes = static_cast<const unsigned char*>(block);
        ASSERT_EQ(size_ = 0, static_cast<std::size_t>(std::count_if(bytes, bytes + 8, isSet)));
        add(block, 16);
    }

    void addAligned() {
        const std::size_t alignment = std::size_t{1} << random_() % 18;
        add(nedpmemalign(pool_, alignment, size_ = randomSize()), alignment);
    }

    void addIndependent() {
        std::size_t sizes[] = {randomSize() % 5000, 0, randomSize() % 5000};
        void* chunks[3];
        ASSERT_EQ(chunks, nedpindependent_comalloc(pool_, 3, sizes, chunks));
        for (int i = 0; i < 3; ++i)
            size_ = sizes[i], add(chunks[i], 16);
    }

    void resize(std::size_t chosen) {
        Block block = blocks_[chosen];
        blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(chosen));
        size_ = std::max<std::size_t>(1, random_() % 2 ? randomSize() : block.size * 3 / 2);
        block.bytes = static_cast<unsigned char*>(nedprealloc(pool_, block.bytes, size_));
        ASSERT_NE(nullptr, block.bytes);
        block.size = std::min(block.size, size_);
        expectFilled(block);
        add(block.bytes, 16);
    }

    void free(std::size_t chosen) {
        expectFilled(blocks_[chosen]);
        nedpfree(pool_, blocks_[chosen].bytes);
        blocks_[chosen] = blocks_.back();
        blocks_.pop_back();
    }

    static bool isSet(unsigned char byte) { return byte != 0; }
    static void expectFilled(const Block& block) {
        EXPECT_TRUE(isFilled(block.bytes, block.size, block.fill)) << "bytes of a block were lost";
    }

    nedpool* pool_;
    std::mt19937 random_;
    std::size_t size_ = 0;
    std::vector<Block> blocks_;
};

TEST(PooledAllocator, RandomRequestsAgreeWithTheModel) {
    const PoolForTest pool;
    for (nedpool* used : {static_cast<nedpool*>(nullptr), pool.get()}) {
        const std::size_t before = nedpmalloc_footprint(used);
        for (unsigned seed = 1; seed <= 3; ++seed) {
            SCOPED_TRACE("seed " + std::to_string(seed));
            Model model(used, seed);
            for (int i = 0; i < 1500 && !testing::Test::HasFatalFailure(); ++i)
                model.step();
        }
        nedpmalloc_trim(used, 0);
        EXPECT_LE(nedpmalloc_footprint(used), before + kSlack);
    }
}

TEST(PooledAllocator, RequestsBeyondNumbersAreRefused) {
    const std::size_t half = SIZE_MAX / 2 + 1;
    EXPECT_EQ(nullptr, nedmalloc(SIZE_MAX));
    EXPECT_EQ(ENOMEM, errno);
    EXPECT_EQ(nullptr, nedmalloc(half));
    EXPECT_EQ(nullptr, nedcalloc(half, 2));
    EXPECT_EQ(nullptr, nedcalloc(3, SIZE_MAX / 2));
    EXPECT_EQ(nullptr, nedmemalign(SIZE_MAX, 1));
    EXPECT_EQ(nullptr, nedmemalign(4096, SIZE_MAX - 100));
    EXPECT_EQ(nullptr, nedindependent_calloc(half, 4, nullptr));
    EXPECT_EQ(nullptr, nedindependent_calloc(4, half, nullptr));
    std::size_t sizes[] = {10, half};
    void* chunks[2];
    EXPECT_EQ(nullptr, nedindependent_comalloc(2, sizes, chunks));
    void* const block = nedmalloc(10);
    EXPECT_EQ(nullptr, nedrealloc(block, SIZE_MAX));
    nedfree(block);
}

TEST(PooledAllocator, EdgeRequests) {
    void* const none = nedmalloc(0);
    EXPECT_NE(nullptr, none);
    nedfree(none);
    nedfree(nullptr);
    EXPECT_EQ(0u, nedblksize(nullptr));
    EXPECT_EQ(nullptr, nedrealloc(nedrealloc(nullptr, 100), 0));

    const PoolForTest pool;
    for (const std::size_t alignment :
         {0u, 1u, 3u, 48u, 4096u, 65536u, 70000u, 1u << 20, 5u << 20}) {
        const std::size_t rounded =
            alignment < 2 ? 1 : std::size_t{1} << std::bit_width(alignment - 1);
        for (const std::size_t size : {0u, 1u, 100u, 5000u, 40000u, 3u << 20}) {
            auto* const block =
                static_cast<unsigned char*>(nedpmemalign(pool.get(), alignment, size));
            ASSERT_NE(nullptr, block);
            EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % rounded) << alignment;
            std::memset(block, 1, size);
            nedfree(block);
        }
    }

    void** const blocks = nedindependent_calloc(5, 100, nullptr);
    ASSERT_NE(nullptr, blocks);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(0, static_cast<char*>(blocks[i])[99]);
        nedfree(blocks[i]);
    }
    nedfree(blocks);
    void** const noBlocks = nedindependent_comalloc(0, nullptr, nullptr);
    EXPECT_NE(nullptr, noBlocks);
    nedfree(noBlocks);
    EXPECT_EQ(1, nedmallopt(-1, 100 << 20));
    EXPECT_EQ(0, nedmallopt(-3, 1));
    EXPECT_EQ(1, nedmallopt(-1, 256 << 20));
}

TEST(PooledAllocator, GrowingBlocksKeepTheirBytesAndFreedPages) {
    const PoolForTest pool;
    for (int round = 0; round < 3; ++round) {
        std::size_t size = 16;
        auto* bytes = static_cast<unsigned char*>(nedpmalloc(pool.get(), size));
        std::memset(bytes, 7, size);
        while (size < 20 * kMega) {
            const std::size_t grown = size * 3 / 2;
            bytes = static_cast<unsigned char*>(nedprealloc(pool.get(), bytes, grown));
            ASSERT_NE(nullptr, bytes);
            ASSERT_EQ(7, bytes[size - 1]);
            std::memset(bytes + size, 7, grown - size);
            size = grown;
        }
        EXPECT_TRUE(isFilled(bytes, size, 7));
        // Shrinking gives up what is behind.
        bytes = static_cast<unsigned char*>(nedprealloc(pool.get(), bytes, 100000));
        EXPECT_LT(nedblksize(bytes), 200000u);
        EXPECT_EQ(7, bytes[99999]);
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
    Model model(pool.get(), 99);
    for (int i = 0; i < 500; ++i)
        model.step();
}

TEST(PooledAllocator, PoolsHaveTheirOwnBlocksAndValues) {
    int values[3];
    nedsetvalue(&values[0]);
    void* const plain = nedmalloc(10);
    const std::size_t before = pool::MemoryLimit::reserved();
    for (int round = 0; round < 20; ++round) {
        nedpool* const a = nedcreatepool(10 * kMega, 4);
        nedpool* const b = nedcreatepool(0, 0);
        ASSERT_TRUE(a && b);
        nedpsetvalue(a, &values[1]);
        nedpsetvalue(b, &values[2]);
        std::vector<void*> blocks;
        for (const std::size_t size : {10u, 1000u, 30000u, 100000u, 5000000u}) {
            void* const block = nedpmalloc(a, size);
            EXPECT_EQ(&values[1], nedgetvalue(block));
            blocks.push_back(block);
            void* const grown = nedrealloc(nedpmalloc(b, size), 3 * size);
            EXPECT_EQ(&values[2], nedgetvalue(grown));
            nedfree(nedpcalloc(b, size, 1));
        }
        EXPECT_EQ(&values[0], nedgetvalue(plain));
        EXPECT_EQ(&values[0], nedgetvalue(nullptr));
        nedfree(blocks[0]);
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
    std::vector<nedpool*> pools(300);
    std::vector<void*> blocks(pools.size());
    for (std::size_t i = 0; i < pools.size(); ++i)
        blocks[i] = nedpmalloc(pools[i] = nedcreatepool(0, 1), 100);
    for (std::size_t i = 0; i < pools.size(); ++i) {
        nedpsetvalue(pools[i], &pools[i]);
        EXPECT_EQ(&pools[i], nedgetvalue(blocks[i]));
    }
    for (std::size_t i = 0; i < pools.size(); i += 2)
        neddestroypool(pools[i]);
    for (std::size_t i = 1; i < pools.size(); i += 2) {
        EXPECT_EQ(&pools[i], nedgetvalue(blocks[i]));
        nedfree(blocks[i]);
        neddestroypool(pools[i]);
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

}  // namespace
