// Byte patterns, their cursor and the copy against a plain list of offsets; the allocator pairs.
#include <gtest/gtest.h>
#include <ztlib/ZtAllocator.h>
#include <ztlib/ZtBytePattern.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "Random.h"

namespace {

/// The dimensions of a pattern, innermost first, and the offsets of its bytes in order.
struct Selection {
    std::vector<int> sizes;
    std::vector<int> strides;

    ZtBytePattern pattern() const {
        return ZtBytePattern(static_cast<int>(sizes.size()), sizes.data(), strides.data());
    }

    std::vector<std::ptrdiff_t> offsets() const {
        std::vector<std::ptrdiff_t> result = {0};
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            std::vector<std::ptrdiff_t> outer;
            for (int step = 0; step < sizes[i]; ++step)
                for (const std::ptrdiff_t offset : result)
                    outer.push_back(offset + step * std::ptrdiff_t{strides[i]});
            result = outer;
        }
        return result;
    }
};

/// A selection of bytes, each at a place of its own: a box in an array of up
/// to five dimensions of which some are taken whole, the steps of others running backwards.
Selection randomSelection(Random& random) {
    Selection selection;
    int extent = random.below(4) == 0 ? 2 : 1;
    for (int levels = 1 + random.below(5); levels > 0; --levels) {
        const int size = selection.sizes.empty() ? 1 << random.below(5) : 1 + random.below(5);
        selection.sizes.push_back(size);
        selection.strides.push_back(random.below(6) == 0 ? -extent : extent);
        extent *= size + (random.below(3) == 0 ? 1 : 0);
    }
    return selection;
}

TEST(ZtBytePattern, JoinsDimensionsThatContinueEachOther) {
    const struct {
        Selection selection, joined;
    } rows[] = {
        {{{4, 10}, {1, 8}}, {{4, 10}, {1, 8}}},
        {{{2, 3, 4}, {1, 2, 12}}, {{6, 4}, {1, 12}}},
        {{{4, 10}, {2, 8}}, {{40}, {2}}},
        {{{1 << 16, 1 << 15, 2}, {1, 1 << 16, INT_MIN}},  // too many to count
         {{1 << 16, 1 << 15, 2}, {1, 1 << 16, INT_MIN}}},
        {{{}, {}}, {{0}, {0}}},
        {{{2, 2, 2, 2, 2, 2, 2, 2, 2}, {1, 3, 7, 15, 31, 63, 127, 255, 511}},  // too many levels
         {{2, 2, 2, 2, 2, 2, 2, 2}, {1, 3, 7, 15, 31, 63, 127, 255}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const ZtBytePattern pattern = row.selection.pattern();
        EXPECT_EQ(std::vector<int>(pattern.counts, pattern.counts + pattern.nLevels),
                  row.joined.sizes);
        EXPECT_EQ(std::vector<int>(pattern.strides, pattern.strides + pattern.nLevels),
                  row.joined.strides);
    }
}

TEST(ZtBytePattern, CursorVisitsEveryByteInOrder) {
    Random random(1);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const Selection selection = randomSelection(random);
        const std::vector<std::ptrdiff_t> offsets = selection.offsets();
        const ZtBytePattern pattern = selection.pattern();
        BytePatternIterator walk(pattern);
        std::ptrdiff_t summed = 0;
        for (std::size_t at = 0; at < offsets.size();) {
            ASSERT_FALSE(walk.isFinished());
            BytePatternIterator jump(pattern);
            jump.seek(static_cast<long long>(at));
            ASSERT_EQ(offsets[at], jump.offset());
            ASSERT_EQ(offsets[at], summed);
            ASSERT_EQ(walk.stepsLeft(), jump.stepsLeft());
            const int run = walk.runLength();
            for (std::size_t i = 0; i < static_cast<std::size_t>(run); ++i)
                ASSERT_EQ(walk.offset() + static_cast<std::ptrdiff_t>(i), offsets[at + i]);
            const int steps = 1 + random.below(walk.stepsLeft());
            walk.advance(steps);
            summed += walk.lastStep();
            at += static_cast<std::size_t>(steps);
        }
        EXPECT_TRUE(walk.isFinished());
        for (const long long past : {0LL, 1LL << 40, LLONG_MAX / 2}) {
            walk.seek(static_cast<long long>(offsets.size()) + past);
            EXPECT_TRUE(walk.isFinished());
        }
        walk.reset();
        EXPECT_EQ(0, walk.offset());
    }
}

// The shorter pattern ends the copy; bytes that are not meant stay.
TEST(ZtBytePattern, CopiesInPatternOrder) {
    Random random(2);
    constexpr std::ptrdiff_t kMiddle = 50000;
    std::vector<unsigned char> source(2 * kMiddle);
    for (unsigned char& byte : source)
        byte = static_cast<unsigned char>(random.bits());
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        const Selection to = randomSelection(random);
        const Selection from = round % 3 == 0 ? to : randomSelection(random);
        std::vector<unsigned char> target(source.rbegin(), source.rend());
        std::vector<unsigned char> expected = target;
        const auto toOffsets = to.offsets();
        const auto fromOffsets = from.offsets();
        for (std::size_t i = 0; i < std::min(toOffsets.size(), fromOffsets.size()); ++i)
            expected[static_cast<std::size_t>(kMiddle + toOffsets[i])] =
                source[static_cast<std::size_t>(kMiddle + fromOffsets[i])];
        ztmemcpy(target.data() + kMiddle, to.pattern(), source.data() + kMiddle, from.pattern());
        ASSERT_EQ(expected, target);
    }
}

TEST(ZtBytePattern, CountsBelowOneHoldNothing) {
    const ZtBytePattern one = Selection{{1}, {1}}.pattern();
    for (const Selection& selection :
         {Selection{{}, {}}, {{-3}, {1}}, {{0, 5}, {1, 9}}, {{2, -1, 3}, {1, 9, 99}}}) {
        const ZtBytePattern empty = selection.pattern();
        char from = 'a', to = 'b';
        ztmemcpy(&to, empty, &from, one);
        ztmemcpy(&to, one, &from, empty);
        EXPECT_EQ('b', to);
        BytePatternIterator walk(empty);
        walk.seek(7);
        EXPECT_TRUE(walk.isFinished());
    }
}

TEST(ZtAllocator, NamesAPairOfFunctions) {
    EXPECT_TRUE(ZtAllocator() == ZtAllocator(&std::malloc, &std::free));
    EXPECT_TRUE(ZtAllocator(ZtAllocator::NEDMALLOC) == ZtAllocator(nedmalloc, nedfree));
    EXPECT_TRUE(ZtAllocator(ZtAllocator::NEW_DELETE) != ZtAllocator(ZtAllocator::MALLOC));
    for (const int type : {ZtAllocator::MALLOC, ZtAllocator::NEDMALLOC, ZtAllocator::NEW_DELETE}) {
        const ZtAllocator allocator(type);
        void* const block = allocator.allocate(100);
        EXPECT_NE(nullptr, block);
        allocator.deallocate(block);
        allocator.deallocate(nullptr);
        EXPECT_EQ(nullptr, allocator.allocate(PTRDIFF_MAX));
    }
    int notABlock = 0;
    ZtAllocator(3).deallocate(&notABlock);
    EXPECT_EQ(nullptr, ZtAllocator(-1).allocate(1));
}

}  // namespace
