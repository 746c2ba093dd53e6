// Conversion, mapping, filling, ranges, constancy and byte order of raw data.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtRawData.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <type_traits>

#include "RawForms.h"

namespace {

template <class T>
constexpr T kMin = std::numeric_limits<T>::min();
template <class T>
constexpr T kMax = std::numeric_limits<T>::max();

// --- What becomes of one value, said in the widest arithmetic rather than in the types' own ---

template <class To, class From>
To expectedCopy(From value) {
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(value);
    } else {
        constexpr bool toInt = std::is_same_v<To, std::int32_t>;
        const long double exact = static_cast<long double>(value);
        if (std::isnan(exact))
            return toInt ? kMin<To> : To{0};
        if (std::is_same_v<From, std::uint16_t> && std::is_same_v<To, std::int16_t>)
            return static_cast<To>(static_cast<std::int16_t>(value) < 0 ? 0 : value);
        if (exact < (toInt && std::is_same_v<From, double> ? -2147483646.0L : kMin<To>))
            return toInt ? static_cast<To>(-2147483646) : kMin<To>;
        if (exact > static_cast<long double>(kMax<To>))
            return kMax<To>;
        return static_cast<To>(std::trunc(exact));
    }
}

/// (value + offset) * scale, step by step.
template <class To, class From>
To expectedMap(From value, double offset, double scale) {
    const double roundedOffset = static_cast<double>(static_cast<float>(offset));
    const double roundedScale = static_cast<double>(static_cast<float>(scale));
    if constexpr (std::is_same_v<To, double>) {
        const double sum = static_cast<double>(value) + offset;
        return sum * scale;
    } else if constexpr (std::is_same_v<From, double> && !std::is_same_v<To, float>) {
        const double sum = value + roundedOffset;
        const double product = sum * roundedScale;
        if constexpr (std::is_same_v<To, std::int32_t>)
            return expectedCopy<To>(product);
        else
            return expectedCopy<To>(static_cast<float>(product));
    } else {
        const float sum = static_cast<float>(value) + static_cast<float>(offset);
        const float product = sum * static_cast<float>(scale);
        if (std::is_same_v<To, std::int32_t> && product < -2147483648.0f)
            return static_cast<To>(kMin<std::int32_t>);
        return expectedCopy<To>(product);
    }
}

/// All values of a narrow type; of others the bounds of all types, what lies beside them, special
/// numbers and numbers of random bits.
template <class T>
std::vector<T> tellingValues() {
    std::vector<T> values;
    if constexpr (sizeof(T) <= 2) {
        for (int value = kMin<T>; value <= kMax<T> || values.size() < 300; ++value)
            values.push_back(static_cast<T>(value));
        return values;
    }
    for (const double bound :
         {0.0,          1.0,          127.0,        128.0,        255.0,        256.0,
          32767.0,      32768.0,      65535.0,      65536.0,      16777216.0,   33554433.0,
          2147483520.0, 2147483645.0, 2147483646.0, 2147483647.0, 2147483648.0, 4294967296.0,
          9.2e18,       1e30,         1e-42,        3.5e38})
        for (const double step : {0.0, 0.3, 0.5, 1.0, 2.0})
            for (const double value : {bound - step, bound + step, -bound - step, -bound + step})
                if constexpr (std::is_floating_point_v<T>) {
                    const T near = static_cast<T>(value);
                    for (const T beside :
                         {near, std::nextafter(near, -kMax<T>), std::nextafter(near, kMax<T>)})
                        values.push_back(beside);
                } else if (value >= kMin<T> && value <= kMax<T>) {
                    values.push_back(static_cast<T>(value));
                }
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_floating_point_v<T>)
        for (const T value : {Limits::infinity(), Limits::quiet_NaN(), Limits::denorm_min(),
                              Limits::min(), Limits::max(), Limits::epsilon(), T{0}})
            values.insert(values.end(), {value, -value});
    std::mt19937 random(11);
    values.resize(values.size() + 400);
    std::memcpy(&values[values.size() - 400], randomBytes(400 * sizeof(T), random).data(),
                400 * sizeof(T));
    return values;
}

// --- Conversion and mapping ---

struct Mapping {
    bool isOne;
    double offset, scale;

    template <class To, class From>
    To expected(From value) const {
        return isOne ? expectedMap<To>(value, offset, scale) : expectedCopy<To>(value);
    }
    void run(ZtTypedPointer to, ZtTypedPointer from, std::size_t count) const {
        if (isOne)
            ZtRawData::mapLinear(to, from, static_cast<unsigned>(count), offset, scale);
        else
            ZtRawData::memcpy(to, from, static_cast<int>(count));
    }
};
constexpr Mapping kCopy = {false, 0, 1};
constexpr Mapping kMapping = {true, 0.25, -3.0};

/// Calls `test(expected, from, values)` for each pair of types, `expected` being what the values
/// become.
template <class Test>
void forEachPair(const Mapping& mapping, Test test) {
    forEachType([&](auto fromZero) {
        using From = decltype(fromZero);
        std::vector<From> values = tellingValues<From>();
        forEachType([&](auto toZero) {
            using To = decltype(toZero);
            std::vector<To> expected;
            for (const From value : values)
                expected.push_back(mapping.expected<To>(value));
            SCOPED_TRACE(ZtPrimType(values.data()).getName() + std::string(" to ") +
                         ZtPrimType(expected.data()).getName());
            test(expected, values);
        });
    });
}

TEST(RawDataConversion, OfEveryNarrowValueAndEveryBoundaryIntoEveryType) {
    for (const Mapping& mapping :
         {kCopy, Mapping{true, 0, 1}, Mapping{true, -20, 0.29}, Mapping{true, 0, 0.7},
          Mapping{true, 0.1, -2}, Mapping{true, 1e10, 1}, Mapping{true, -3e9, 1},
          Mapping{true, -3e9, 1e30}, Mapping{true, 1e39, 0.7}, Mapping{true, 1e39, -0.0},
          Mapping{true, 0.1, 1e300}, Mapping{true, 0, -0.0}})
        forEachPair(mapping, [&](auto& expected, auto& values) {
            inEveryForm([&] {
                auto results = expected;
                mapping.run(pointer(results), pointer(values), values.size());
                for (std::size_t i = 0; i < values.size(); ++i)
                    ASSERT_EQ(0, std::memcmp(&expected[i], &results[i], sizeof results[i]))
                        << "(" << +values[i] << " + " << mapping.offset << ") * " << mapping.scale
                        << ": " << +expected[i] << ", not " << +results[i];
            });
        });
}

TEST(RawDataConversion, OfAllLengthsAtAllAddressesAndInPlace) {
    for (const Mapping& mapping : {kCopy, kMapping})
        forEachPair(mapping, [&](auto& expected, auto& values) {
            const ZtPrimType to(expected.data());
            const ZtPrimType from(values.data());
            const auto test = [&](std::size_t count, std::size_t misalignment) {
                const std::size_t first = values.size() - count;
                const std::size_t bytes = count * sizeof expected[0];
                Misaligned in(count * sizeof values[0], misalignment);
                std::memcpy(in.data(), &values[first], count * sizeof values[0]);
                Misaligned out(bytes, misalignment * 37 + count);
                for (Misaligned* target : {&out, &in}) {
                    if (target == &in && to.size() > from.size())
                        return;
                    mapping.run({target->data(), to}, {in.data(), from}, count);
                    ASSERT_TRUE(target->isUntouchedAround());
                    ASSERT_EQ(0, std::memcmp(&expected[first], target->data(), bytes)) << count;
                }
            };
            inEveryForm([&] { atAllAddresses(test); });
        });
}

TEST(RawDataConversion, PastTheCaches) {
    for (const Mapping& mapping : {kCopy, kMapping})
        forEachPair(mapping, [&](auto expected, auto values) {
            const std::size_t size = sizeof expected[0];
            if (size % 7 != 1 || sizeof values[0] % 7 != 1)
                return;  // The smallest and the largest elements suffice.
            const std::size_t count = (std::size_t{5} << 20) / size + 77;
            const std::size_t some = values.size();
            for (std::size_t i = 0; values.size() < count; ++i) {
                values.push_back(values[i % some]);
                expected.push_back(expected[i % some]);
            }
            // Elements at a multiple of their size, and at none.
            Misaligned out(count * size, mapping.isOne ? 1 : 24);
            inEveryForm([&] {
                std::fill_n(out.data(), count * size, static_cast<unsigned char>(0x77));
                mapping.run({out.data(), ZtPrimType(expected.data())}, pointer(values), count);
                ASSERT_TRUE(out.isUntouchedAround());
                ASSERT_EQ(0, std::memcmp(expected.data(), out.data(), count * size));
            });
        });
}

// --- Types ---

TEST(RawData, SaysWhichTypesItDoesNotTake) {
    const std::set<int> converting = {ZtPrimType::BYTE, ZtPrimType::SHORT, ZtPrimType::USHORT,
                                      ZtPrimType::INT,  ZtPrimType::FLOAT, ZtPrimType::DOUBLE};
    const auto unsupported = [](ZtPrimType type, const char* where) {
        return std::string("Unsupported data type ") + type.getName() + " in ZtRawData" + where;
    };
    constexpr int complex = ZtPrimType::COMPLEX;
    testing::internal::CaptureStdout();
    for (int to = -1; to <= ZtPrimType::kCount; ++to)
        for (int from = -1; from <= ZtPrimType::kCount; ++from)
            for (const Mapping& mapping : {kCopy, Mapping{true, 1, 10}}) {
                SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
                float in[4] = {1, 2, 3, 4};
                float out[4] = {};
                const std::string said = errorsOf([&] { mapping.run({out, to}, {in, from}, 2); });
                if (to == from && (to == complex || !mapping.isOne)) {
                    const float mapped[4] = {20, 30, 40, 50};
                    const auto bytes = 2 * static_cast<std::size_t>(ZtPrimType(to).size());
                    EXPECT_EQ("", said);
                    EXPECT_EQ(0, std::memcmp(mapping.isOne ? mapped : in, out, bytes));
                } else if (to == complex || from == complex) {
                    EXPECT_EQ(mapping.isOne ? "ERROR: ZtRawData::mapLinear(), mapping from complex "
                                              "to real is not supported\n"
                                            : "ERROR: ZtRawData::memcpy(), complex data are not "
                                              "supported\n",
                              said);
                    EXPECT_EQ(0, out[0]);
                } else {
                    EXPECT_EQ(converting.count(to) ? "" : unsupported(to, "()\n"), said);
                    EXPECT_TRUE(out[0] == 0 || (converting.count(to) && converting.count(from)));
                }
            }
    float value = 5;
    float least = 1;
    float largest = 2;
    for (const int type : {ZtPrimType::SBYTE, ZtPrimType::STRING, ZtPrimType::UINT}) {
        const ZtTypedPointer data(&value, type);
        EXPECT_EQ((type == ZtPrimType::UINT ? "" : unsupported(type, "::memset()\n")) +
                      unsupported(type, "()\n"),
                  errorsOf([&] {
                      if (type != ZtPrimType::UINT)
                          ZtRawData::memset(data, 3, 1);
                      ZtRawData::getRange(data, 1, least, largest);
                  }));
        EXPECT_FALSE(ZtRawData::isConstant(data, 1) || ZtRawData::isConstant(data, 0));
    }
    EXPECT_EQ(unsupported(complex, "::memset()\n"), errorsOf([&] {
                  ZtRawData::memset({&value, complex}, 1.0, 1);
              }));
    // No count, no work; null is no array.
    ZtRawData::memcpy(static_cast<float*>(nullptr), static_cast<int*>(nullptr), -1);
    ZtRawData::getRange(static_cast<float*>(nullptr), 0, least, largest);
    EXPECT_TRUE(value == 5 && least == 1 && largest == 2);
    ZtRawData::swapBytes({&value, 17}, 1);
    EXPECT_EQ("Swapping of 0-byte words not supported.", testing::internal::GetCapturedStdout());
}

// --- Filling ---

template <class T, class Value>
void expectFilled(T expected, Value value) {
    Misaligned out(5000 * sizeof(T), 1);
    ZtRawData::memset({out.data(), ZtPrimType(static_cast<T*>(nullptr))}, value, 5000);
    EXPECT_TRUE(out.isUntouchedAround());
    const std::vector<T> all(5000, expected);
    EXPECT_EQ(0, std::memcmp(all.data(), out.data(), 5000 * sizeof(T))) << value;
}

TEST(RawDataFill, IntegersAreReducedAndFloatingPointValuesCut) {
    expectFilled<unsigned char>(44, 300);
    expectFilled<unsigned char>(255, 300.0);
    expectFilled<unsigned char>(0, -1.0f);
    expectFilled<unsigned short>(65535, -1L);
    expectFilled<int>(2147483647, 1e10);
    expectFilled<int>(kMin<int>, std::numeric_limits<double>::quiet_NaN());
    expectFilled<float>(4294967295.0f, ~0u);
    expectFilled<double>(1e18, 1000000000000000000LL);
    expectFilled<double>(18446744073709551616.0, ~0ULL);
    expectFilled<float>(0.1f, 0.1);
}

// --- Ranges and constancy ---

TEST(RawDataLooks, FindTheRangeAndOneDifferenceAnywhere) {
    std::mt19937 random(14);
    const auto test = [&](auto zero) {
        using T = decltype(zero);
        const std::vector<T> telling = tellingValues<T>();
        for (unsigned count = 1; count < 400; ++count) {
            std::vector<T> values(count);
            for (T& value : values) {
                value = telling[random() % telling.size()];
                // Zeros of both signs at one end of the range.
                if constexpr (std::is_floating_point_v<T>)
                    if (count % 3 > 0)
                        value =
                            std::copysign(random() % 16 ? value : T{0},
                                          (count % 3 == 1) == (random() % 16 > 0) ? T{1} : T{-1});
            }
            T least = values[0];
            T largest = values[0];
            for (const T value : values) {
                least = value < least ? value : least;
                largest = value > largest ? value : largest;
            }
            const float expected[2] = {static_cast<float>(least), static_cast<float>(largest)};
            float found[2];
            ZtRawData::getRange(pointer(values), count, found[0], found[1]);
            ASSERT_TRUE(least == least ? std::memcmp(expected, found, sizeof found) == 0
                                       : std::isnan(found[0]) && std::isnan(found[1]));
            values.assign(count, T{42});
            ASSERT_TRUE(ZtRawData::isConstant(pointer(values), count));
            values[random() % count] = T{43};
            ASSERT_EQ(count == 1, ZtRawData::isConstant(pointer(values), count)) << count;
        }
    };
    inEveryForm([&] { forEachType(test); });
    float numbers[200] = {1, 2, 1, 2};
    float range[2];
    ZtRawData::getRange(numbers, 0, range[0], range[1]);
    EXPECT_TRUE(range[0] == 1 && range[1] == 1);
    const ZtTypedPointer complex(numbers, ZtPrimType::COMPLEX);
    ZtRawData::getRange(complex, 2, range[0], range[1]);
    EXPECT_TRUE(range[0] == 1 && range[1] == 2);
    EXPECT_FALSE(ZtRawData::isConstant(complex, 2));
    std::fill_n(numbers, 200, 0.0f);
    numbers[150] = -0.0f;
    EXPECT_TRUE(ZtRawData::isConstant(numbers, 200));
    std::fill_n(numbers, 200, std::numeric_limits<float>::quiet_NaN());
    EXPECT_FALSE(ZtRawData::isConstant(numbers, 200));
    EXPECT_TRUE(ZtRawData::isConstant(numbers, 0));
}

// --- Byte order ---

TEST(RawDataSwap, ReversesTheBytesOfEachElement) {
    std::mt19937 random(15);
    for (int type = 0; type < ZtPrimType::kCount; ++type) {
        const auto test = [&](std::size_t count, std::size_t misalignment) {
            const Bytes content =
                randomBytes(count * static_cast<std::size_t>(ZtPrimType(type).size()), random);
            Misaligned data(content.size(), misalignment);
            std::copy(content.begin(), content.end(), data.data());
            ZtRawData::swapBytes({data.data(), type}, static_cast<unsigned>(count));
            ASSERT_TRUE(data.isUntouchedAround());
            ASSERT_EQ(swapped(content, type), Bytes(data.data(), data.data() + content.size()));
        };
        inEveryForm([&] { atAllAddresses(test); });
    }
    unsigned char bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    ZtRawData::swapBytesWord2(bytes, 4);
    ZtRawData::swapBytesWord4(bytes, 2);
    ZtRawData::swapBytesWord8(bytes, 1);
    EXPECT_THAT(bytes, testing::ElementsAre(6, 5, 8, 7, 2, 1, 4, 3));
}

}  // namespace
