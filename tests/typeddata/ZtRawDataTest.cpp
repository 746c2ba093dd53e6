// Conversion, mapping, filling, ranges, constancy and byte order of raw data.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "RawForms.h"

namespace {

template <class T>
constexpr T kMin = std::numeric_limits<T>::min();
template <class T>
constexpr T kMax = std::numeric_limits<T>::max();

/// Calls `test(T{})` for each type that converts.
template <class Test>
void forEachType(Test test) {
    test(std::uint8_t{});
    test(std::int16_t{});
    test(std::uint16_t{});
    test(std::int32_t{});
    test(0.0f);
    test(0.0);
}

template <class T>
ZtTypedPointer pointer(std::vector<T>& values) {
    return ZtTypedPointer(values.data());
}

template <class To>
std::string bits(To value) {
    std::string text;
    for (std::size_t i = sizeof value; i-- > 0;) {
        unsigned char byte;
        std::memcpy(&byte, reinterpret_cast<const unsigned char*>(&value) + i, 1);
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

/// What `From` becomes, said by bounds in the widest arithmetic rather than by the types' own.
template <class To, class From>
To expectedCopy(From value) {
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(value);
    } else {
        constexpr bool toInt = std::is_same_v<To, std::int32_t>;
        if (std::isnan(static_cast<long double>(value)))
            return toInt ? kMin<To> : To{0};
        if (std::is_same_v<From, std::uint16_t> && std::is_same_v<To, std::int16_t>)
            return static_cast<To>(static_cast<std::int16_t>(value) < 0 ? 0 : value);
        long double lowest = kMin<To>;
        if (toInt && std::is_same_v<From, double>)
            lowest = -2147483646.0L;
        const long double exact = static_cast<long double>(value);
        if (exact < lowest)
            return toInt ? static_cast<To>(-2147483646) : kMin<To>;
        if (exact > static_cast<long double>(kMax<To>))
            return kMax<To>;
        return static_cast<To>(std::trunc(exact));
    }
}

template <class To, class From>
void expectCopies(std::vector<From> values) {
    std::vector<To> copies(values.size());
    ZtRawData::memcpy(pointer(copies), pointer(values), static_cast<int>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(bits(expectedCopy<To>(values[i])), bits(copies[i]))
            << +values[i] << " " << bits(values[i]) << " from "
            << ZtPrimType(static_cast<From*>(nullptr)).getName() << " to "
            << ZtPrimType(static_cast<To*>(nullptr)).getName();
}

template <class T>
std::vector<T> everyValue() {
    std::vector<T> values;
    for (int value = kMin<T>; value <= kMax<T>; ++value)
        values.push_back(static_cast<T>(value));
    return values;
}

TEST(RawDataCopy, EveryNarrowValueIntoEveryType) {
    inEveryForm([] {
        forEachType([](auto to) {
            expectCopies<decltype(to)>(everyValue<std::uint8_t>());
            expectCopies<decltype(to)>(everyValue<std::int16_t>());
            expectCopies<decltype(to)>(everyValue<std::uint16_t>());
        });
    });
}

/// The bounds of all types, and what lies beside them.
template <class T>
std::vector<T> boundaryValues() {
    std::vector<T> values;
    for (const double bound : {0.0,          1.0,          127.0,        128.0,        255.0,
                               256.0,        32767.0,      32768.0,      65535.0,      65536.0,
                               16777216.0,   33554433.0,   2147483520.0, 2147483645.0, 2147483646.0,
                               2147483647.0, 2147483648.0, 4294967296.0, 9.2e18,       1e30})
        for (const double step : {0.0, 0.3, 0.5, 1.0, 2.0})
            for (const double value : {bound - step, bound + step, -bound - step, -bound + step}) {
                if constexpr (std::is_integral_v<T>) {
                    if (value >= kMin<T> && value <= kMax<T>)
                        values.push_back(static_cast<T>(value));
                } else {
                    const T near = static_cast<T>(value);
                    values.push_back(near);
                    values.push_back(std::nextafter(near, -kMax<T>));
                    values.push_back(std::nextafter(near, kMax<T>));
                }
            }
    if constexpr (std::is_floating_point_v<T>) {
        using Limits = std::numeric_limits<T>;
        for (const T value : {Limits::infinity(), Limits::quiet_NaN(), Limits::denorm_min(),
                              Limits::min(), Limits::max(), Limits::epsilon(), T{0}}) {
            values.push_back(value);
            values.push_back(-value);
        }
        values.push_back(static_cast<T>(1e-42));
        values.push_back(static_cast<T>(3.5e38));
    } else {
        for (int shift = 0; shift < 31; ++shift)
            for (int step = -2; step <= 2; ++step)
                if (shift > 1 && sizeof(T) == 4)
                    values.push_back(static_cast<T>((1 << shift) + step));
    }
    return values;
}

TEST(RawDataCopy, BoundariesOfEveryType) {
    inEveryForm([] {
        forEachType([](auto to) {
            expectCopies<decltype(to)>(boundaryValues<std::int32_t>());
            expectCopies<decltype(to)>(boundaryValues<float>());
            expectCopies<decltype(to)>(boundaryValues<double>());
        });
    });
}

/// (value + offset) * scale, step by step.
template <class To, class From>
To expectedMap(From value, double offset, double scale) {
    if constexpr (std::is_same_v<To, double>) {
        const double sum = static_cast<double>(value) + offset;
        return sum * scale;
    } else if constexpr (std::is_same_v<From, double> && !std::is_same_v<To, float>) {
        const double sum = value + static_cast<double>(static_cast<float>(offset));
        const double product = sum * static_cast<double>(static_cast<float>(scale));
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

TEST(RawDataMap, BoundariesOfEveryPairOfTypes) {
    const auto test = [](auto from, auto to, double offset, double scale) {
        using From = decltype(from);
        using To = decltype(to);
        std::vector<From> values = boundaryValues<From>();
        std::vector<To> mapped(values.size());
        ZtRawData::mapLinear(pointer(mapped), pointer(values), static_cast<unsigned>(values.size()),
                             offset, scale);
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_EQ(bits(expectedMap<To>(values[i], offset, scale)), bits(mapped[i]))
                << "(" << +values[i] << " + " << offset << ") * " << scale << " from "
                << typeid(From).name() << " to " << typeid(To).name();
    };
    inEveryForm([&] {
        forEachType([&](auto from) {
            forEachType([&](auto to) {
                for (const double offset : {0.0, -20.0, 0.1, 1e10, -3e9, 1e39})
                    for (const double scale : {1.0, 0.29, 0.7, -2.0, 1e30, 0.0, 1e300})
                        test(from, to, offset, scale);
            });
        });
    });
}

TEST(RawData, MapsAndCopiesAsStated) {
    const auto mapByte = [](unsigned char value, double offset, double scale) {
        unsigned char mapped = 0;
        ZtRawData::mapLinear(&mapped, &value, 1, offset, scale);
        return static_cast<int>(mapped);
    };
    EXPECT_EQ(10, mapByte(10, -5, 2));
    EXPECT_EQ(255, mapByte(10, -5, 100));
    EXPECT_EQ(0, mapByte(10, -20, 2));
    // In double precision the first would be 28; with products of extended precision the second 6.
    EXPECT_EQ(29, mapByte(100, 0, 0.29));
    EXPECT_EQ(7, mapByte(10, 0, 0.7));
    double wide = -3e9;
    int narrow = 0;
    ZtRawData::memcpy(&narrow, &wide, 1);
    EXPECT_EQ(-2147483646, narrow);
    std::vector<float> complex = {1, 2, 3, 4};
    std::vector<float> mapped(4, -1.0f);
    ZtRawData::mapLinear({mapped.data(), ZtPrimType::COMPLEX},
                         {complex.data(), ZtPrimType::COMPLEX}, 2, 1, 10);
    EXPECT_THAT(mapped, testing::ElementsAre(20, 30, 40, 50));
}

// --- The fast forms against the plain one, on arrays anywhere ---

constexpr ZtPrimType::Type kTypes[] = {ZtPrimType::BYTE, ZtPrimType::SHORT, ZtPrimType::USHORT,
                                       ZtPrimType::INT,  ZtPrimType::FLOAT, ZtPrimType::DOUBLE};

void convertOrMap(bool isMapping, ZtTypedPointer to, ZtTypedPointer from, std::size_t count) {
    if (isMapping)
        ZtRawData::mapLinear(to, from, static_cast<unsigned>(count), 0.25, -3.0);
    else
        ZtRawData::memcpy(to, from, static_cast<int>(count));
}

/// Random bits; as floating-point numbers half of them of moderate size.
void fillAtRandom(unsigned char* data, std::size_t count, ZtPrimType type, std::mt19937& random) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto bitsOfBoth = static_cast<std::uint64_t>(random()) << 32 | random();
        const double moderate = std::ldexp(static_cast<std::int32_t>(random()), -8);
        const float single = static_cast<float>(moderate);
        unsigned char* const element = data + i * static_cast<std::size_t>(type.size());
        if (type == ZtPrimType::DOUBLE && random() % 2)
            std::memcpy(element, &moderate, sizeof moderate);
        else if (type == ZtPrimType::FLOAT && random() % 2)
            std::memcpy(element, &single, sizeof single);
        else
            std::memcpy(element, &bitsOfBoth, static_cast<std::size_t>(type.size()));
    }
}

struct Shape {
    std::size_t count, fromMisalignment, toMisalignment;
};

std::vector<Shape> everyLengthAndMisalignment() {
    std::vector<Shape> shapes;
    for (std::size_t count = 0; count <= 130; ++count)
        shapes.push_back({count, count * 5 % 64, count * 11 % 64});
    for (std::size_t misalignment = 0; misalignment < 64; ++misalignment)
        shapes.push_back({259, misalignment, misalignment * 37 % 64});
    return shapes;
}

TEST(RawDataForms, AgreeWithThePlainFormForAllLengthsAndMisalignments) {
    std::mt19937 random(11);
    for (const bool isMapping : {false, true})
        for (const ZtPrimType from : kTypes)
            for (const ZtPrimType to : kTypes)
                for (const Shape& shape : everyLengthAndMisalignment()) {
                    const std::size_t bytes = shape.count * static_cast<std::size_t>(to.size());
                    Misaligned in(shape.count * static_cast<std::size_t>(from.size()),
                                  shape.fromMisalignment);
                    fillAtRandom(in.data(), shape.count, from, random);
                    std::vector<unsigned char> expected;
                    inEveryForm([&] {
                        Misaligned out(bytes, shape.toMisalignment);
                        convertOrMap(isMapping, {out.data(), to}, {in.data(), from}, shape.count);
                        ASSERT_TRUE(out.isUntouchedAround());
                        if (expected.empty())
                            expected.assign(out.data(), out.data() + bytes);
                        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.data()))
                            << from.getName() << " to " << to.getName() << ", " << shape.count
                            << " elements at " << shape.fromMisalignment << " and "
                            << shape.toMisalignment;
                    });
                }
}

TEST(RawDataForms, AgreeOnResultsThatGoPastTheCaches) {
    std::mt19937 random(12);
    constexpr std::size_t kCount = (std::size_t{5} << 20) + 77;
    std::vector<unsigned char> in(8 * kCount + 8);
    std::vector<unsigned char> out(8 * kCount + 64);
    for (const bool isMapping : {false, true})
        for (const ZtPrimType from : {ZtPrimType::BYTE, ZtPrimType::INT, ZtPrimType::DOUBLE})
            for (const ZtPrimType to : {ZtPrimType::BYTE, ZtPrimType::USHORT, ZtPrimType::DOUBLE}) {
                if (from == to && !isMapping)
                    continue;
                // Elements of their size's alignment, and of none.
                const std::size_t shift = isMapping ? 1 : 24;
                const std::size_t some = kCount / static_cast<std::size_t>(to.size());
                const auto unit = static_cast<std::size_t>(from.size());
                constexpr std::size_t kRandom = 10007;
                fillAtRandom(in.data(), kRandom, from, random);
                for (std::size_t i = kRandom * unit; i < some * unit; ++i)
                    in[i] = in[i - kRandom * unit];
                const std::size_t bytes = some * static_cast<std::size_t>(to.size());
                std::vector<unsigned char> expected;
                inEveryForm([&] {
                    std::fill_n(out.begin(), bytes + 64, static_cast<unsigned char>(0x77));
                    convertOrMap(isMapping, {out.data() + shift, to}, {in.data(), from}, some);
                    if (expected.empty())
                        expected.assign(out.begin(), out.begin() + static_cast<long>(bytes) + 64);
                    ASSERT_EQ(0, std::memcmp(expected.data(), out.data(), bytes + 64))
                        << from.getName() << " to " << to.getName();
                });
            }
}

TEST(RawDataForms, ConvertInPlaceToElementsThatAreNoLarger) {
    std::mt19937 random(13);
    inEveryForm([&] {
        for (const ZtPrimType from : kTypes)
            for (const ZtPrimType to : kTypes) {
                if (to.size() > from.size())
                    continue;
                constexpr std::size_t kCount = 1000;
                std::vector<unsigned char> in(8 * kCount);
                std::vector<unsigned char> apart(8 * kCount);
                for (const bool isMapping : {false, true}) {
                    fillAtRandom(in.data(), kCount, from, random);
                    convertOrMap(isMapping, {apart.data(), to}, {in.data(), from}, kCount);
                    convertOrMap(isMapping, {in.data(), to}, {in.data(), from}, kCount);
                    ASSERT_EQ(0, std::memcmp(apart.data(), in.data(),
                                             kCount * static_cast<std::size_t>(to.size())))
                        << from.getName() << " to " << to.getName();
                }
            }
    });
}

// --- Types that are not taken ---

struct Silent {
    template <class Action>
    explicit Silent(Action action) {
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        action();
        out = testing::internal::GetCapturedStdout();
        err = testing::internal::GetCapturedStderr();
    }
    std::string out, err;
};

TEST(RawData, SaysWhichTypesItDoesNotTake) {
    const std::string complexCopy = "ERROR: ZtRawData::memcpy(), complex data are not supported\n";
    const std::string complexMap =
        "ERROR: ZtRawData::mapLinear(), mapping from complex to real is not supported\n";
    for (int to = -1; to <= ZtPrimType::kCount; ++to)
        for (int from = -1; from <= ZtPrimType::kCount; ++from) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            const std::set<int> converting(std::begin(kTypes), std::end(kTypes));
            const std::string unsupported = std::string("Unsupported data type ") +
                                            ZtPrimType(to).getName() + " in ZtRawData()\n";
            const bool complex = to == ZtPrimType::COMPLEX || from == ZtPrimType::COMPLEX;
            const std::string refused = converting.count(to) ? "" : unsupported;
            const bool works = converting.count(to) && converting.count(from);
            double in[4] = {1, 2, 3, 4};
            double out[4] = {};
            const Silent copy([&] { ZtRawData::memcpy({out, to}, {in, from}, 2); });
            EXPECT_EQ(to == from ? "" : complex ? complexCopy : refused, copy.err);
            const int copied = ZtPrimType(to).size();
            if (to == from) {
                EXPECT_EQ(0, std::memcmp(in, out, 2 * static_cast<std::size_t>(copied)));
            } else if (!works) {
                EXPECT_EQ(0, out[0]);
            }
            out[0] = 0;
            const Silent mapping([&] { ZtRawData::mapLinear({out, to}, {in, from}, 2, 0, 1); });
            EXPECT_EQ(complex ? (to == from ? "" : complexMap) : refused, mapping.err);
            if (!works && !(complex && to == from)) {
                EXPECT_EQ(0, out[0]);
            }
            EXPECT_EQ("", copy.out + mapping.out);
        }
    double value = 5;
    float least = 1;
    float largest = 2;
    const auto without = [&](int type) {
        const ZtTypedPointer data(&value, type);
        const Silent filling([&] { ZtRawData::memset(data, 3, 1); });
        const Silent range([&] { ZtRawData::getRange(data, 1, least, largest); });
        EXPECT_FALSE(ZtRawData::isConstant(data, 1));
        EXPECT_FALSE(ZtRawData::isConstant(data, 0));
        return filling.err + range.err;
    };
    EXPECT_EQ(
        "Unsupported data type sbyte in ZtRawData::memset()\n"
        "Unsupported data type sbyte in ZtRawData()\n",
        without(ZtPrimType::SBYTE));
    EXPECT_EQ(
        "Unsupported data type string in ZtRawData::memset()\n"
        "Unsupported data type string in ZtRawData()\n",
        without(ZtPrimType::STRING));
    EXPECT_EQ("Unsupported data type complex in ZtRawData::memset()\n",
              Silent([&] {
                  ZtRawData::memset({&value, ZtPrimType::COMPLEX}, 1.0, 1);
              }).err);
    EXPECT_EQ(5, value);
    EXPECT_EQ(1, least);
    EXPECT_EQ(2, largest);
    const Silent swapping([&] { ZtRawData::swapBytes({&value, 17}, 1); });
    EXPECT_EQ("Swapping of 0-byte words not supported.", swapping.out);
    // No count, no work; null is no array.
    ZtRawData::memcpy(static_cast<float*>(nullptr), static_cast<int*>(nullptr), -1);
    ZtRawData::getRange(static_cast<float*>(nullptr), 0, least, largest);
    EXPECT_EQ(1, least);
}

// --- Filling ---

template <class T, class Value>
T filled(Value value) {
    Misaligned out(5000 * sizeof(T), 1);
    ZtRawData::memset({out.data(), ZtPrimType(static_cast<T*>(nullptr))}, value, 5000);
    EXPECT_TRUE(out.isUntouchedAround());
    T first;
    T last;
    std::memcpy(&first, out.data(), sizeof first);
    std::memcpy(&last, out.data() + 4999 * sizeof last, sizeof last);
    EXPECT_EQ(bits(first), bits(last));
    return first;
}

TEST(RawDataFill, IntegersAreReducedAndFloatingPointValuesCut) {
    EXPECT_EQ(44, filled<unsigned char>(300));
    EXPECT_EQ(255, filled<unsigned char>(300.0));
    EXPECT_EQ(255, filled<unsigned char>(-1));
    EXPECT_EQ(0, filled<unsigned char>(-1.0f));
    EXPECT_EQ(-32768, filled<short>(32768));
    EXPECT_EQ(65535, filled<unsigned short>(-1L));
    EXPECT_EQ(-1, filled<int>(~0u));
    EXPECT_EQ(2147483647, filled<int>(1e10));
    EXPECT_EQ(kMin<int>, filled<int>(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(4294967295.0f, filled<float>(~0u));
    EXPECT_EQ(1e18, filled<double>(1000000000000000000LL));
    EXPECT_EQ(18446744073709551616.0, filled<double>(~0ULL));
    EXPECT_EQ(0.1, filled<double>(0.1));
    EXPECT_EQ(0.1f, filled<float>(0.1));
}

// --- Ranges and constancy ---

TEST(RawDataRange, AgreesWithAPlainScan) {
    std::mt19937 random(14);
    inEveryForm([&] {
        for (int round = 0; round < 400; ++round)
            forEachType([&](auto zero) {
                using T = decltype(zero);
                std::vector<T> values(1 + random() % 700);
                fillAtRandom(reinterpret_cast<unsigned char*>(values.data()), values.size(),
                             ZtPrimType(values.data()), random);
                if constexpr (std::is_floating_point_v<T>)
                    // Zeros of both signs at one end of the range, and NaN.
                    for (T& value : values) {
                        if (round % 3 > 0)
                            value = round % 3 == 1 ? std::fabs(value) : -std::fabs(value);
                        if (random() % 16 == 0)
                            value = random() % 2 ? T{0} : -T{0};
                        if (random() % 16 == 0)
                            value = std::numeric_limits<T>::quiet_NaN();
                    }
                T least = values[0];
                T largest = values[0];
                for (const T value : values) {
                    least = value < least ? value : least;
                    largest = value > largest ? value : largest;
                }
                float minimum = 0;
                float maximum = 0;
                ZtRawData::getRange(pointer(values), static_cast<unsigned>(values.size()), minimum,
                                    maximum);
                if (least != least) {
                    ASSERT_TRUE(std::isnan(minimum) && std::isnan(maximum));
                    return;
                }
                ASSERT_EQ(bits(static_cast<float>(least)), bits(minimum));
                ASSERT_EQ(bits(static_cast<float>(largest)), bits(maximum));
            });
    });
    int single[2] = {7, 9};
    float minimum = 0;
    float maximum = 0;
    ZtRawData::getRange(single, 0, minimum, maximum);
    EXPECT_EQ(7, minimum);
    EXPECT_EQ(7, maximum);
    float complex[4] = {1, -2, 3, 9};
    ZtRawData::getRange({complex, ZtPrimType::COMPLEX}, 2, minimum, maximum);
    EXPECT_EQ(-2, minimum);
    EXPECT_EQ(9, maximum);
}

TEST(RawDataConstant, FindsOneDifferenceAnywhere) {
    inEveryForm([] {
        forEachType([](auto zero) {
            using T = decltype(zero);
            for (std::size_t count = 1; count < 300; ++count) {
                std::vector<T> values(count, T{42});
                const auto isConstant = [&values, count] {
                    return ZtRawData::isConstant(pointer(values), static_cast<unsigned>(count));
                };
                ASSERT_TRUE(isConstant());
                if (count == 1)
                    continue;
                values[count * 7 % count] = T{42};
                values[count * count * 31 % (count - 1) + 1] = T{43};
                ASSERT_FALSE(isConstant()) << count;
            }
        });
    });
    std::vector<float> zeros(200, 0.0f);
    zeros[150] = -0.0f;
    EXPECT_TRUE(ZtRawData::isConstant(pointer(zeros), 200));
    zeros.assign(200, std::numeric_limits<float>::quiet_NaN());
    EXPECT_FALSE(ZtRawData::isConstant(pointer(zeros), 200));
    EXPECT_TRUE(ZtRawData::isConstant(pointer(zeros), 0));
    float pairs[4] = {1, 2, 1, 2};
    EXPECT_FALSE(ZtRawData::isConstant({pairs, ZtPrimType::COMPLEX}, 2));
}

// --- Byte order ---

TEST(RawDataSwap, ReversesTheBytesOfEachElement) {
    std::mt19937 random(15);
    inEveryForm([&] {
        for (int type = 0; type < ZtPrimType::kCount; ++type)
            for (const Shape& shape : everyLengthAndMisalignment()) {
                const auto size = static_cast<std::size_t>(ZtPrimType(type).size());
                const std::size_t word = type == ZtPrimType::COMPLEX ? 4 : size;
                Misaligned data(shape.count * size, shape.fromMisalignment);
                fillAtRandom(data.data(), shape.count, type, random);
                std::vector<unsigned char> expected(data.data(), data.data() + shape.count * size);
                for (auto at = expected.begin(); at != expected.end();
                     at += static_cast<std::ptrdiff_t>(word))
                    std::reverse(at, at + static_cast<std::ptrdiff_t>(word));
                ZtRawData::swapBytes({data.data(), type}, static_cast<unsigned>(shape.count));
                ASSERT_TRUE(data.isUntouchedAround());
                ASSERT_EQ(expected, std::vector<unsigned char>(data.data(),
                                                               data.data() + shape.count * size));
            }
    });
    unsigned char bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    ZtRawData::swapBytesWord2(bytes, 4);
    ZtRawData::swapBytesWord4(bytes, 2);
    ZtRawData::swapBytesWord8(bytes, 1);
    EXPECT_THAT(bytes, testing::ElementsAre(6, 5, 8, 7, 2, 1, 4, 3));
}

}  // namespace
