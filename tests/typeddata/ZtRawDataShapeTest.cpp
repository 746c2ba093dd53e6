// Exchanging axes, flipping and cropping against element-by-element models.
#include <gtest/gtest.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "FailEveryAllocation.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes randomBytes(std::size_t count, std::mt19937& random) {
    Bytes bytes(count);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

std::size_t volumeOf(const std::vector<int>& dims) {
    std::size_t result = 1;
    for (const int n : dims)
        result *= static_cast<std::size_t>(n);
    return result;
}

/// The axes of `data` exchanged, element by element.
Bytes exchanged(const Bytes& data, std::size_t size, const std::vector<int>& dims,
                const std::vector<int>& permutation) {
    Bytes result(data.size());
    std::vector<std::size_t> stride(dims.size());
    std::size_t next = size;
    for (std::size_t i = 0; i < dims.size(); ++i) {
        stride[i] = next;
        next *= static_cast<std::size_t>(dims[i]);
    }
    std::vector<int> position(dims.size());
    for (std::size_t at = 0; at < result.size(); at += size) {
        std::size_t from = 0;
        for (std::size_t i = 0; i < dims.size(); ++i)
            from += static_cast<std::size_t>(position[i]) *
                    stride[static_cast<std::size_t>(permutation[i])];
        std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(from), size,
                    result.begin() + static_cast<std::ptrdiff_t>(at));
        for (std::size_t i = 0; i < dims.size(); ++i) {
            if (++position[i] < dims[static_cast<std::size_t>(permutation[i])])
                break;
            position[i] = 0;
        }
    }
    return result;
}

void expectExchanged(ZtPrimType type, std::vector<int> dims, const std::vector<int>& permutation,
                     std::mt19937& random) {
    const auto size = static_cast<std::size_t>(type.size());
    Bytes data = randomBytes(size * volumeOf(dims), random);
    const Bytes expected = exchanged(data, size, dims, permutation);
    std::vector<int> expectedDims;
    for (const int axis : permutation)
        expectedDims.push_back(dims[static_cast<std::size_t>(axis)]);
    std::string request = type.getName();
    for (std::size_t i = 0; i < dims.size(); ++i)
        request += " " + std::to_string(dims[i]) + "<-" + std::to_string(permutation[i]);
    ASSERT_TRUE(ZtRawData::swapDims({data.data(), type}, dims.data(), permutation.data(),
                                    static_cast<int>(dims.size())));
    ASSERT_EQ(expectedDims, dims) << request;
    ASSERT_EQ(expected, data) << request;
}

TEST(RawDataSwapDims, ExchangesAxesOfAnyShape) {
    std::mt19937 random(21);
    constexpr ZtPrimType::Type kTypes[] = {ZtPrimType::SBYTE, ZtPrimType::USHORT, ZtPrimType::FLOAT,
                                           ZtPrimType::COMPLEX};
    for (int round = 0; round < 3000; ++round) {
        const std::size_t n = 1 + random() % 5;
        std::vector<int> permutation(n);
        std::iota(permutation.begin(), permutation.end(), 0);
        std::shuffle(permutation.begin(), permutation.end(), random);
        // Sizes alike more often than not, so that many are permuted in cycles.
        std::vector<int> dims(n, 1 + static_cast<int>(random() % (n > 3 ? 7 : 21)));
        for (int& size : dims)
            if (random() % 3 == 0)
                size = 1 + static_cast<int>(random() % 9);
        if (round % 50 == 0)
            dims[random() % n] = 0;
        expectExchanged(kTypes[random() % 4], dims, permutation, random);
    }
}

TEST(RawDataSwapDims, ExchangesAxesOfMoreThanOneTile) {
    std::mt19937 random(22);
    for (const ZtPrimType type :
         {ZtPrimType::BYTE, ZtPrimType::SHORT, ZtPrimType::INT, ZtPrimType::DOUBLE}) {
        for (std::vector<int> permutation :
             std::vector<std::vector<int>>{{1, 0, 2}, {2, 1, 0}, {0, 2, 1}, {1, 2, 0}, {2, 0, 1}}) {
            expectExchanged(type, {70, 70, 70}, permutation, random);
            expectExchanged(type, {65, 33, 17}, permutation, random);
        }
        expectExchanged(type, {300, 270}, {1, 0}, random);
        expectExchanged(type, {270, 270}, {1, 0}, random);
        expectExchanged(type, {9, 9, 9, 9}, {1, 2, 3, 0}, random);
    }
    // A binary hypercube with as many axes as there may be.
    std::vector<int> permutation(16);
    for (int i = 0; i < 16; ++i)
        permutation[static_cast<std::size_t>(i)] = (i + 5) % 16;
    expectExchanged(ZtPrimType::SHORT, std::vector<int>(16, 2), permutation, random);
}

TEST(RawDataSwapDims, RefusesWhatIsNoPermutation) {
    int data[4] = {1, 2, 3, 4};
    int dims[2] = {2, 2};
    const int same[2] = {1, 1};
    const int beyond[2] = {0, 2};
    const int swap[2] = {1, 0};
    EXPECT_FALSE(ZtRawData::swapDims(data, dims, same, 2));
    EXPECT_FALSE(ZtRawData::swapDims(data, dims, beyond, 2));
    EXPECT_FALSE(ZtRawData::swapDims(data, dims, swap, 0));
    EXPECT_FALSE(ZtRawData::swapDims(data, dims, swap, 17));
    int negative[2] = {-2, 2};
    EXPECT_FALSE(ZtRawData::swapDims(data, negative, swap, 2));
    int huge[3] = {INT_MAX, INT_MAX, INT_MAX};
    const int rotate[3] = {1, 2, 0};
    EXPECT_FALSE(ZtRawData::swapDims(data, huge, rotate, 3));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(ZtRawData::swapDims({data, ZtPrimType::STRING}, dims, swap, 2));
    EXPECT_EQ("Unsupported data type string in ZtRawData::swapDims()\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(2, data[1]);
}

TEST(RawDataFlip, ReversesOneAxis) {
    std::mt19937 random(23);
    for (int round = 0; round < 400; ++round) {
        const std::array<int, 3> dims = {static_cast<int>(random() % 40),
                                         static_cast<int>(random() % 7),
                                         static_cast<int>(random() % 7)};
        const int size = 1 + static_cast<int>(random() % 12);
        const int axis = static_cast<int>(random() % 3);
        const auto element = static_cast<std::size_t>(size);
        Bytes data = randomBytes(element * volumeOf({dims[0], dims[1], dims[2]}), random);
        Bytes expected;
        for (int z = 0; z < dims[2]; ++z)
            for (int y = 0; y < dims[1]; ++y)
                for (int x = 0; x < dims[0]; ++x) {
                    std::array<int, 3> at = {x, y, z};
                    int& along = at[static_cast<std::size_t>(axis)];
                    along = dims[static_cast<std::size_t>(axis)] - 1 - along;
                    const auto from = static_cast<std::ptrdiff_t>(
                        element *
                        static_cast<std::size_t>((at[2] * dims[1] + at[1]) * dims[0] + at[0]));
                    expected.insert(expected.end(), data.begin() + from,
                                    data.begin() + from + size);
                }
        ASSERT_EQ(1, ZtRawData::flip(data.data(), size, dims.data(), axis));
        ASSERT_EQ(expected, data) << size << " bytes, axis " << axis;
    }
    const int dims[3] = {1, 1, 1};
    EXPECT_EQ(0, ZtRawData::flip(nullptr, 4, dims, 3));
    EXPECT_EQ(0, ZtRawData::flip(nullptr, 4, dims, -1));
    EXPECT_EQ(0, ZtRawData::flip(nullptr, 0, dims, 0));
}

TEST(RawDataCrop, CutsAndGrows) {
    std::mt19937 random(24);
    const unsigned char fill[12] = {201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212};
    for (int round = 0; round < 1000; ++round) {
        const std::size_t size = 1 + random() % 12;
        int dims[3];
        int low[3];
        int high[3];
        for (int i = 0; i < 3; ++i) {
            dims[i] = static_cast<int>(random() % 8);
            low[i] = static_cast<int>(random() % 14) - 4;
            high[i] = low[i] + static_cast<int>(random() % 9);
        }
        const Bytes source = randomBytes(size * volumeOf({dims[0], dims[1], dims[2]}), random);
        void* data = ztmalloc(source.size() + 1);
        std::copy(source.begin(), source.end(), static_cast<unsigned char*>(data));
        Bytes expected;
        for (int z = low[2]; z <= high[2]; ++z)
            for (int y = low[1]; y <= high[1]; ++y)
                for (int x = low[0]; x <= high[0]; ++x) {
                    const bool inside =
                        x >= 0 && x < dims[0] && y >= 0 && y < dims[1] && z >= 0 && z < dims[2];
                    const auto* const from =
                        inside
                            ? source.data() +
                                  size * static_cast<std::size_t>((z * dims[1] + y) * dims[0] + x)
                            : fill;
                    expected.insert(expected.end(), from, from + size);
                }
        ASSERT_EQ(1, ZtRawData::crop(data, static_cast<int>(size), dims, low, high, fill));
        ASSERT_EQ(expected.size(), size * volumeOf({dims[0], dims[1], dims[2]}));
        ASSERT_EQ(0, std::memcmp(expected.data(), data, expected.size()));
        ztfree(data);
    }
}

TEST(RawDataCrop, LeavesEverythingWhereItCannotCut) {
    void* data = ztmalloc(4);
    void* const before = data;
    int dims[3] = {4, 1, 1};
    const int low[3] = {0, 0, 0};
    const int none[3] = {3, -1, 0};
    EXPECT_EQ(0, ZtRawData::crop(data, 1, dims, low, none, nullptr));
    const int huge[3] = {INT_MAX - 1, INT_MAX - 1, INT_MAX - 1};
    EXPECT_THROW(ZtRawData::crop(data, 8, dims, low, huge, nullptr), ZtMemoryException);
    EXPECT_EQ(before, data);
    EXPECT_EQ(4, dims[0]);
    const int one[3] = {4, 0, 0};
    const int from[3] = {4, 0, 0};
    EXPECT_EQ(1, ZtRawData::crop(data, 1, dims, from, one, nullptr));
    EXPECT_EQ(0, *static_cast<unsigned char*>(data));
    ztfree(data);
}

}  // namespace
