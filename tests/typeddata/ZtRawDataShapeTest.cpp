// Exchanging axes, flipping, cropping and making volumes smaller, against plain models.
#include <gtest/gtest.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtRawData.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <numeric>
#include <type_traits>

#include "RawForms.h"

namespace {

using Sizes = std::vector<int>;

std::size_t volumeOf(const Sizes& dims) {
    return std::accumulate(dims.begin(), dims.end(), std::size_t{1},
                           [](std::size_t n, int size) { return n * static_cast<unsigned>(size); });
}

/// An array of `dims` elements of `size` bytes, each of them the one of `data`, of `dataDims`, at
/// the place `from(position)`, or `fill` where that lies outside.
template <class From>
Bytes gathered(const Sizes& dims, std::size_t size, const Bytes& data, const Sizes& dataDims,
               From from, const unsigned char* fill = nullptr) {
    Bytes result;
    Sizes position(dims.size());
    for (std::size_t left = volumeOf(dims); left > 0; --left) {
        const Sizes place = from(position);
        std::size_t index = 0;
        bool isInside = true;
        for (std::size_t i = place.size(); i-- > 0;) {
            index = index * static_cast<std::size_t>(dataDims[i]) + static_cast<unsigned>(place[i]);
            isInside = isInside && place[i] >= 0 && place[i] < dataDims[i];
        }
        const unsigned char* const element = isInside ? &data[index * size] : fill;
        result.insert(result.end(), element, element + size);
        for (std::size_t i = 0; i < dims.size() && ++position[i] == dims[i]; ++i)
            position[i] = 0;
    }
    return result;
}

void expectExchanged(ZtPrimType type, Sizes dims, const Sizes& permutation, std::mt19937& random) {
    const auto size = static_cast<std::size_t>(type.size());
    Bytes data = randomBytes(size * volumeOf(dims), random);
    Sizes expectedDims;
    for (const int axis : permutation)
        expectedDims.push_back(dims[static_cast<std::size_t>(axis)]);
    const Bytes expected = gathered(expectedDims, size, data, dims, [&](const Sizes& position) {
        Sizes place(position.size());
        for (std::size_t i = 0; i < place.size(); ++i)
            place[static_cast<std::size_t>(permutation[i])] = position[i];
        return place;
    });
    const std::string request = std::string(type.getName()) + " " + testing::PrintToString(dims) +
                                testing::PrintToString(permutation);
    ASSERT_TRUE(ZtRawData::swapDims({data.data(), type}, dims.data(), permutation.data(),
                                    static_cast<int>(dims.size())));
    ASSERT_EQ(expectedDims, dims) << request;
    ASSERT_EQ(expected, data) << request;
}

constexpr ZtPrimType::Type kTypes[] = {ZtPrimType::SBYTE, ZtPrimType::USHORT, ZtPrimType::FLOAT,
                                       ZtPrimType::COMPLEX};

TEST(RawDataSwapDims, ExchangesAxesOfAnyShape) {
    std::mt19937 random(21);
    for (int round = 0; round < 3000; ++round) {
        const std::size_t n = 1 + random() % 5;
        Sizes permutation(n);
        std::iota(permutation.begin(), permutation.end(), 0);
        std::shuffle(permutation.begin(), permutation.end(), random);
        // Sizes alike more often than not, so that many are permuted in cycles.
        Sizes dims(n, 1 + static_cast<int>(random() % (n > 3 ? 7 : 21)));
        for (int& size : dims)
            if (random() % 3 == 0)
                size = 1 + static_cast<int>(random() % 9);
        if (round % 50 == 0)
            dims[random() % n] = 0;
        expectExchanged(kTypes[random() % 4], dims, permutation, random);
    }
    // More than one tile.
    for (const ZtPrimType type : kTypes) {
        for (const Sizes& permutation :
             {Sizes{1, 0, 2}, Sizes{2, 1, 0}, Sizes{0, 2, 1}, Sizes{1, 2, 0}, Sizes{2, 0, 1}}) {
            expectExchanged(type, {70, 70, 70}, permutation, random);
            expectExchanged(type, {65, 33, 17}, permutation, random);
        }
        expectExchanged(type, {300, 270}, {1, 0}, random);
        expectExchanged(type, {9, 9, 9, 9}, {1, 2, 3, 0}, random);
    }
    // A binary hypercube with as many axes as there may be.
    expectExchanged(ZtPrimType::SHORT, Sizes(16, 2),
                    {5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4}, random);
}

TEST(RawDataSwapDims, RefusesWhatIsNoPermutationAndSurvivesExhaustion) {
    int data[4] = {1, 2, 3, 4};
    struct Row {
        Sizes dims, permutation;
        int n;
        ZtPrimType::Type type = ZtPrimType::INT;
    };
    const std::string said = errorsOf([&] {
        for (Row row :
             {Row{{2, 2}, {1, 1}, 2}, Row{{2, 2}, {0, 2}, 2}, Row{{2, 2}, {0, -1}, 2},
              Row{{2, 2}, {1, 0}, 0}, Row{{2, 2}, {1, 0}, 17}, Row{{-2, 2}, {1, 0}, 2},
              Row{Sizes(3, INT_MAX), {1, 2, 0}, 3}, Row{{2, 2}, {1, 0}, 2, ZtPrimType::STRING}}) {
            const Sizes before = row.dims;
            EXPECT_FALSE(ZtRawData::swapDims({data, row.type}, row.dims.data(),
                                             row.permutation.data(), row.n));
            EXPECT_EQ(before, row.dims);
        }
    });
    EXPECT_EQ("Unsupported data type string in ZtRawData::swapDims()\n", said);
    EXPECT_TRUE(data[1] == 2 && data[2] == 3);
}

TEST(RawDataFlip, ReversesOneAxis) {
    std::mt19937 random(23);
    for (int round = 0; round < 400; ++round) {
        const Sizes dims = {static_cast<int>(random() % 40), static_cast<int>(random() % 7),
                            static_cast<int>(random() % 7)};
        const std::size_t size = 1 + random() % 12;
        const std::size_t axis = random() % 3;
        Bytes data = randomBytes(size * volumeOf(dims), random);
        const Bytes expected = gathered(dims, size, data, dims, [&](Sizes place) {
            place[axis] = dims[axis] - 1 - place[axis];
            return place;
        });
        ASSERT_EQ(1, ZtRawData::flip(data.data(), static_cast<int>(size), dims.data(),
                                     static_cast<int>(axis)));
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
        Sizes dims(3);
        Sizes low(3);
        Sizes high(3);
        Sizes croppedDims(3);
        for (std::size_t i = 0; i < 3; ++i) {
            dims[i] = static_cast<int>(random() % 8);
            low[i] = static_cast<int>(random() % 14) - 4;
            croppedDims[i] = 1 + static_cast<int>(random() % 9);
            high[i] = low[i] + croppedDims[i] - 1;
        }
        const Bytes source = randomBytes(size * volumeOf(dims), random);
        const Bytes expected = gathered(
            croppedDims, size, source, dims,
            [&](Sizes place) {
                for (std::size_t i = 0; i < 3; ++i)
                    place[i] += low[i];
                return place;
            },
            fill);
        void* data = ztmalloc(source.size() + 1);
        std::copy(source.begin(), source.end(), static_cast<unsigned char*>(data));
        ASSERT_EQ(1, ZtRawData::crop(data, static_cast<int>(size), dims.data(), low.data(),
                                     high.data(), fill));
        ASSERT_EQ(croppedDims, dims);
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
    EXPECT_TRUE(data == before && dims[0] == 4);
    const int one[3] = {4, 0, 0};
    EXPECT_EQ(1, ZtRawData::crop(data, 1, dims, one, one, nullptr));
    EXPECT_EQ(0, *static_cast<unsigned char*>(data));
    ztfree(data);
}

// --- Making volumes smaller, against block-by-block models ---

/// A volume of `components` elements per voxel, and a way to cut it.
struct Request {
    std::array<int, 3> dims, factors;
    int components;

    std::size_t elements() const {
        return static_cast<std::size_t>(dims[0] * dims[1] * dims[2] * components);
    }
};

/// Calls `reduce(values)` with the elements of each block and component, in the target's order.
template <class T, class Reduce>
std::vector<T> reduced(const Request& request, const std::vector<T>& source, Reduce reduce) {
    std::vector<T> target;
    const auto [nx, ny, nz] = request.dims;
    const auto [fx, fy, fz] = request.factors;
    for (int z = 0; z < nz; z += fz)
        for (int y = 0; y < ny; y += fy)
            for (int x = 0; x < nx; x += fx)
                for (int c = 0; c < request.components; ++c) {
                    std::vector<T> block;
                    for (int dz = z; dz < std::min(z + fz, nz); ++dz)
                        for (int dy = y; dy < std::min(y + fy, ny); ++dy)
                            for (int dx = x; dx < std::min(x + fx, nx); ++dx)
                                block.push_back(source[static_cast<std::size_t>(
                                    ((dz * ny + dy) * nx + dx) * request.components + c)]);
                    target.push_back(reduce(block));
                }
    return target;
}

template <class T>
T mean(const std::vector<T>& block) {
    long double sum = 0;
    for (const T value : block)
        sum += static_cast<long double>(value);
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(static_cast<double>(sum) / static_cast<double>(block.size()));
    else
        return static_cast<T>(std::round(sum / static_cast<long double>(block.size())));
}

template <class T>
T mostFrequent(const std::vector<T>& block) {
    std::map<T, int> counts;
    for (const T label : block)
        ++counts[label];
    return std::max_element(counts.begin(), counts.end(),
                            [](const auto& a, const auto& b) { return a.second < b.second; })
        ->first;
}

/// Numbers rather than NaN.
template <class T>
T largest(const std::vector<T>& block) {
    T result = block[0];
    for (const T value : block)
        if constexpr (std::is_floating_point_v<T>)
            result = std::fmax(result, value);
        else
            result = std::max(result, value);
    return result;
}

/// Random requests: every so often with blocks of 2 x 2 x 2, of single voxels or larger than all.
Request randomRequest(std::mt19937& random) {
    Request request = {};
    for (std::size_t i = 0; i < 3; ++i) {
        request.dims[i] = static_cast<int>(random() % (i == 0 ? 300 : 8));
        request.factors[i] = 1 + static_cast<int>(random() % 5);
    }
    if (random() % 3 == 0)
        request.factors = {2, 2, 2};
    if (random() % 10 == 0)
        request.factors[random() % 3] = 1000000000;
    request.components = random() % 2 ? 1 : 1 + static_cast<int>(random() % 4);
    return request;
}

/// Integers of the whole range or at its ends; floating-point numbers whose sums are exact.
template <class T>
std::vector<T> randomElements(const Request& request, std::mt19937& random) {
    std::vector<T> elements(request.elements());
    const bool isAtEnds = random() % 4 == 0;
    using Limits = std::numeric_limits<T>;
    for (T& element : elements)
        element = std::is_floating_point_v<T>
                      ? static_cast<T>(static_cast<int>(random() % 65536) - 32768)
                  : isAtEnds ? (random() % 2 ? Limits::min() : Limits::max())
                             : static_cast<T>(random());
    return elements;
}

/// Reduces `source` by `run(target, source, dims, factors)` and by `reduce`, block by block. NaN is
/// itself as a text.
template <class T, class Run, class Reduce>
void expectReduced(const Request& r, std::vector<T>& source, Run run, Reduce reduce) {
    const std::vector<T> expected = reduced(r, source, reduce);
    std::vector<T> target(expected.size());
    run(target.data(), pointer(source), r.dims.data(), r.factors.data());
    ASSERT_EQ(testing::PrintToString(expected), testing::PrintToString(target));
}

TEST(RawDataSample, AgreesWithBlocksOneByOne) {
    std::mt19937 random(31);
    const auto test = [&](auto zero) {
        using T = decltype(zero);
        constexpr bool isFloating = std::is_floating_point_v<T>;
        Request r = randomRequest(random);
        std::vector<T> source = randomElements<T>(r, random);
        expectReduced(
            r, source, [&](auto... of) { ZtRawData::downSample3DN(of..., r.components, nullptr); },
            mean<T>);
        for (T& value : source)
            if (isFloating && random() % 4 == 0)
                value = std::numeric_limits<T>::quiet_NaN();
        expectReduced(
            r, source,
            [&](auto... of) {
                ZtRawData::downSampleMaxFilterComponents3DN(of..., r.components, nullptr);
            },
            largest<T>);
        if constexpr (!isFloating) {
            r.components = 1;
            source = randomElements<T>(r, random);
            // Few labels make ties, and blocks of one label.
            const unsigned labels = 1 + static_cast<unsigned>(random() % 5);
            for (T& label : source)
                label = static_cast<T>(random() % labels - 2);
            expectReduced(
                r, source, [](auto... of) { ZtRawData::downSampleLabels3D(of..., nullptr); },
                mostFrequent<T>);
        }
    };
    inEveryForm([&] {
        for (int round = 0; round < 80; ++round)
            forEach<signed char, unsigned char, short, unsigned short, int, unsigned, float,
                    double>(test);
    });
}

TEST(RawDataSample, MeansOfExtremesAndHalves) {
    const std::array<int, 3> dims = {2, 1, 1};
    const std::array<int, 3> factors = {2, 1, 1};
    const auto meanOf = [&](auto a, auto b) {
        decltype(a) source[2] = {a, b};
        // In place.
        ZtRawData::downSample3D(source, source, dims.data(), factors.data(), nullptr);
        return source[0];
    };
    EXPECT_EQ(1, meanOf(static_cast<short>(0), static_cast<short>(1)));
    EXPECT_EQ(-1, meanOf(static_cast<short>(0), static_cast<short>(-1)));
    EXPECT_EQ(4294967295u, meanOf(4294967295u, 4294967294u));
    EXPECT_EQ(3e38f, meanOf(3e38f, 3e38f));
    // More values than 32 bits can sum up.
    const std::array<int, 3> large = {512, 512, 2};
    std::vector<unsigned short> bright(512 * 512 * 2, 65535);
    ZtRawData::downSample3D(bright.data(), bright.data(), large.data(), large.data(), nullptr);
    EXPECT_EQ(65535, bright[0]);
    float complex[4] = {1, 10, 2, 20};
    ZtRawData::downSample3D(complex, {complex, ZtPrimType::COMPLEX}, dims.data(), factors.data(),
                            nullptr);
    EXPECT_EQ(1.5f, complex[0]);
    EXPECT_EQ(15, complex[1]);
}

/// Counts the slices and asks to stop after some.
class Stopping : public ZtProgressInterface {
public:
    explicit Stopping(int slices) : slices_(slices) {}
    int wasInterrupted() override { return --slices_ == 0; }
    std::vector<float> values;

private:
    void setProgressValueGlobal(float value) override { values.push_back(value); }
    int slices_;
};

TEST(RawDataSample, ReportsStopsAndRefusesTypes) {
    const std::array<int, 3> dims = {4, 4, 8};
    const std::array<int, 3> factors = {2, 2, 2};
    Bytes source(4 * 4 * 8, 7);
    for (const int slices : {2, 99}) {
        Bytes target(2 * 2 * 4, 1);
        Stopping progress(slices);
        ZtRawData::downSampleLabels3D(target.data(), pointer(source), dims.data(), factors.data(),
                                      &progress);
        EXPECT_TRUE(target[7] == 7 && target[8] == (slices == 2 ? 1 : 7));
        EXPECT_TRUE(!progress.isBusy() && progress.values[2] == 0.5f);
    }
    float data[2] = {1, 2};
    const auto halve = [&](ZtTypedPointer values) {
        ZtRawData::downSample3D(values, values, factors.data(), factors.data(), nullptr);
    };
    EXPECT_EQ(
        "Unsupported data type string in ZtRawData::downSample3D\n"
        "Unsupported data type float in ZtRawData::downSample3D\n",
        errorsOf([&] {
            halve({data, ZtPrimType::STRING});
            ZtRawData::downSampleLabels3D(data, data, dims.data(), dims.data(), nullptr);
        }));
    EXPECT_EQ(1, data[0]);
}

}  // namespace
