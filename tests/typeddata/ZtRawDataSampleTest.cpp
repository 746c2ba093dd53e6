// Making volumes smaller against block-by-block models.
#include <gtest/gtest.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "FailEveryAllocation.h"
#include "RawForms.h"

namespace {

using Three = std::array<int, 3>;

/// A volume of `components` elements per voxel, and a way to cut it.
struct Request {
    Three dims, factors;
    int components;

    int count(int axis) const {
        const auto i = static_cast<std::size_t>(axis);
        return (dims[i] + factors[i] - 1) / factors[i];
    }
    std::size_t elements() const {
        return static_cast<std::size_t>(dims[0] * dims[1] * dims[2] * components);
    }
    std::size_t targetElements() const {
        return static_cast<std::size_t>(count(0) * count(1) * count(2) * components);
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

template <class T>
ZtPrimType typeOf() {
    return ZtPrimType(static_cast<T*>(nullptr));
}

/// Random requests: every so often with blocks of 2 x 2 x 2, of single voxels or larger than all.
Request randomRequest(std::mt19937& random) {
    Request request = {};
    for (std::size_t i = 0; i < 3; ++i) {
        request.dims[i] = static_cast<int>(random() % (i == 0 ? 90 : 8));
        request.factors[i] = 1 + static_cast<int>(random() % 5);
    }
    if (random() % 3 == 0)
        request.factors = {2, 2, 2};
    if (random() % 10 == 0)
        request.factors[random() % 3] = 1000000000;
    request.components = random() % 2 ? 1 : 1 + static_cast<int>(random() % 4);
    return request;
}

/// Integers of the whole range; floating-point numbers whose sums are exact.
template <class T>
std::vector<T> randomElements(const Request& request, std::mt19937& random) {
    std::vector<T> elements(request.elements());
    for (T& element : elements)
        element = std::is_floating_point_v<T>
                      ? static_cast<T>(static_cast<int>(random() % 65536) - 32768)
                      : static_cast<T>(random());
    return elements;
}

template <class Test>
void forEachSampledType(Test test) {
    test(std::int8_t{});
    test(std::uint8_t{});
    test(std::int16_t{});
    test(std::uint16_t{});
    test(std::int32_t{});
    test(std::uint32_t{});
    test(0.0f);
    test(0.0);
}

TEST(RawDataSample, AgreesWithBlocksOneByOne) {
    std::mt19937 random(31);
    inEveryForm([&] {
        for (int round = 0; round < 60; ++round)
            forEachSampledType([&](auto zero) {
                using T = decltype(zero);
                const Request r = randomRequest(random);
                std::vector<T> source = randomElements<T>(r, random);
                const ZtTypedPointer pointer(source.data(), typeOf<T>());
                std::vector<T> means(r.targetElements());
                ZtRawData::downSample3DN(means.data(), pointer, r.dims.data(), r.factors.data(),
                                         r.components, nullptr);
                ASSERT_EQ(reduced(r, source, mean<T>), means);
                if constexpr (std::is_floating_point_v<T>)
                    for (T& value : source)
                        if (random() % 4 == 0)
                            value = std::numeric_limits<T>::quiet_NaN();
                std::vector<T> largest(r.targetElements());
                ZtRawData::downSampleMaxFilterComponents3DN(largest.data(), pointer, r.dims.data(),
                                                            r.factors.data(), r.components,
                                                            nullptr);
                // fmax passes over NaN, too; as texts, NaN is itself.
                const auto largestOf = [](const std::vector<T>& block) {
                    T result = block[0];
                    for (const T value : block)
                        if constexpr (std::is_floating_point_v<T>)
                            result = std::fmax(result, value);
                        else
                            result = std::max(result, value);
                    return result;
                };
                ASSERT_EQ(testing::PrintToString(reduced(r, source, largestOf)),
                          testing::PrintToString(largest));
            });
    });
}

TEST(RawDataSample, FindsTheMostFrequentLabel) {
    std::mt19937 random(32);
    inEveryForm([&] {
        for (int round = 0; round < 100; ++round)
            forEachSampledType([&](auto zero) {
                using T = decltype(zero);
                if constexpr (std::is_integral_v<T>) {
                    Request r = randomRequest(random);
                    r.components = 1;
                    // Few labels make ties; stretches of one label, whole blocks of it.
                    const unsigned labels = 1 + static_cast<unsigned>(random() % 5);
                    std::vector<T> source = randomElements<T>(r, random);
                    for (T& label : source)
                        label = static_cast<T>(random() % labels - 2);
                    std::vector<T> target(r.targetElements());
                    ZtRawData::downSampleLabels3D(target.data(), {source.data(), typeOf<T>()},
                                                  r.dims.data(), r.factors.data(), nullptr);
                    ASSERT_EQ(reduced(r, source, mostFrequent<T>), target);
                }
            });
    });
}

TEST(RawDataSample, MeansOfExtremesAndHalves) {
    const Three dims = {2, 1, 1};
    const Three factors = {2, 1, 1};
    const auto meanOf = [&](auto a, auto b) {
        decltype(a) source[2] = {a, b};
        // In place.
        ZtRawData::downSample3D(source, source, dims.data(), factors.data(), nullptr);
        return source[0];
    };
    EXPECT_EQ(1, meanOf(static_cast<short>(0), static_cast<short>(1)));
    EXPECT_EQ(-1, meanOf(static_cast<short>(0), static_cast<short>(-1)));
    EXPECT_EQ(2147483647, meanOf(2147483647, 2147483647));
    EXPECT_EQ(4294967295u, meanOf(4294967295u, 4294967294u));
    EXPECT_EQ(3e38f, meanOf(3e38f, 3e38f));
    // More values than 32 bits can sum up.
    const Three large = {512, 512, 2};
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
    ~Stopping() override = default;
    int wasInterrupted() override { return --slices_ == 0; }
    std::vector<float> values;

protected:
    void setProgressValueGlobal(float value) override { values.push_back(value); }

private:
    int slices_;
};

TEST(RawDataSample, ReportsAndStops) {
    const Three dims = {4, 4, 8};
    const Three factors = {2, 2, 2};
    std::vector<unsigned char> source(4 * 4 * 8, 7);
    for (const int slices : {2, 99}) {
        std::vector<unsigned char> target(2 * 2 * 4, 1);
        Stopping progress(slices);
        ZtRawData::downSampleLabels3D(target.data(), source.data(), dims.data(), factors.data(),
                                      &progress);
        EXPECT_EQ(7, target[7]);
        EXPECT_EQ(slices == 2 ? 1 : 7, target[8]);
        EXPECT_FALSE(progress.isBusy());
        EXPECT_EQ(0.5f, progress.values[2]);
    }
}

TEST(RawDataSample, RefusesTypesAndSurvivesExhaustion) {
    const Three dims = {2, 1, 1};
    float data[2] = {1, 2};
    testing::internal::CaptureStderr();
    ZtRawData::downSample3D(data, {data, ZtPrimType::STRING}, dims.data(), dims.data(), nullptr);
    ZtRawData::downSampleLabels3D(data, data, dims.data(), dims.data(), nullptr);
    EXPECT_EQ(
        "Unsupported data type string in ZtRawData::downSample3D\n"
        "Unsupported data type float in ZtRawData::downSample3D\n",
        testing::internal::GetCapturedStderr());
    EXPECT_EQ(1, data[0]);
    const auto make = [] { return std::vector<float>{1, 2, 3, 4}; };
    failEveryAllocation(
        make,
        [&](std::vector<float>& values) {
            ZtRawData::downSample3D(values.data(), values.data(), dims.data(), dims.data(),
                                    nullptr);
        },
        [&](const std::vector<float>& values) { EXPECT_EQ(make(), values); });
    failEveryAllocation(
        make,
        [](std::vector<float>& values) {
            int sizes[2] = {4, 1};
            const int swap[2] = {1, 0};
            int wide[2] = {1, 4};
            ZtRawData::swapDims(values.data(), sizes, swap, 2);
            ZtRawData::swapDims(values.data(), wide, swap, 2);
            int unlike[3] = {1, 2, 2};
            const int rotate[3] = {2, 0, 1};
            ZtRawData::swapDims(values.data(), unlike, rotate, 3);
        },
        [&](const std::vector<float>& values) { EXPECT_EQ(make(), values); });
}

}  // namespace
