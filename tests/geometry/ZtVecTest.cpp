// The value vectors: conversions, arithmetic, products, lengths.
#include <gtest/gtest.h>
#include <ztlib/ZtVec2f.h>
#include <ztlib/ZtVec2i.h>
#include <ztlib/ZtVec3d.h>
#include <ztlib/ZtVec3f.h>
#include <ztlib/ZtVec3i.h>
#include <ztlib/ZtVec3l.h>
#include <ztlib/ZtVec4f.h>
#include <ztlib/ZtVec4i.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "ContractCapture.h"

namespace {

template <class V>
class Vec : public testing::Test {};
using VecTypes =
    testing::Types<ZtVec2f, ZtVec3f, ZtVec4f, ZtVec2i, ZtVec3i, ZtVec4i, ZtVec3l, ZtVec3d>;
TYPED_TEST_SUITE(Vec, VecTypes);

template <class V>
using Element = std::remove_reference_t<decltype(V().x)>;

template <class V>
constexpr int kCount = static_cast<int>(sizeof(V) / sizeof(Element<V>));

template <class V>
V made(int first, int step) {
    V v;
    for (int i = 0; i < kCount<V>; ++i)
        v[i] = static_cast<Element<V>>(first + i * step);
    return v;
}

TYPED_TEST(Vec, IsAPlainValueThatNothingConvertsToByItself) {
    using T = Element<TypeParam>;
    static_assert(std::is_trivially_copyable_v<TypeParam>);
    static_assert(std::is_standard_layout_v<TypeParam>);
    static_assert(!std::is_convertible_v<T, TypeParam>);
    static_assert(!std::is_convertible_v<const T*, TypeParam>);
    static_assert(!std::is_constructible_v<TypeParam, T>);
    static_assert(!std::is_constructible_v<TypeParam, decltype(nullptr)>);
    EXPECT_EQ(made<TypeParam>(0, 0), TypeParam());
}

TYPED_TEST(Vec, ArithmeticWorksComponentByComponent) {
    using T = Element<TypeParam>;
    const auto a = made<TypeParam>(7, 3);
    const auto b = made<TypeParam>(2, -5);
    T dot = 0;
    for (int i = 0; i < kCount<TypeParam>; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(a[i] + b[i], (a + b)[i]);
        EXPECT_EQ(a[i] - b[i], (a - b)[i]);
        EXPECT_EQ(-a[i], (-a)[i]);
        EXPECT_EQ(a[i] * 3, (a * T(3))[i]);
        EXPECT_EQ(a[i] * 3, (T(3) * a)[i]);
        EXPECT_EQ(a[i] / 3, (a / T(3))[i]);
        auto changed = a;
        changed[i] += 2;
        EXPECT_FALSE(changed == a);
        EXPECT_TRUE(changed != a);
        EXPECT_TRUE(changed.equals(a, 2) && a.equals(changed, 2));
        EXPECT_FALSE(changed.equals(a, 1) || a.equals(changed, 1));
        EXPECT_EQ(a[i], a.getValue()[i]);
        dot = static_cast<T>(dot + a[i] * b[i]);
    }
    EXPECT_EQ(a, TypeParam(a.getValue()));
    EXPECT_EQ(dot, a.dot(b));
    EXPECT_EQ(a.dot(a), a.length2());
    EXPECT_NEAR(std::sqrt(static_cast<double>(a.dot(a))), static_cast<double>(a.length()), 1e-5);
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(a[kCount<TypeParam>], BrokenContract);
        EXPECT_THROW(a[-1], BrokenContract);
    }
}

TEST(Vec3, CrossProductIsRightHandedAndConstant) {
    static_assert(ZtVec3i(1, 2, 3).cross(ZtVec3i(4, 5, 6)) == ZtVec3i(-3, 6, -3));
    static_assert(ZtVec3f(1, 0, 0).cross(ZtVec3f(0, 1, 0)) == ZtVec3f(0, 0, 1));
    static_assert(ZtVec2i(1, 0).cross(ZtVec2i(0, 1)) == 1);
    static_assert(ZtVec3i(ZtVec3f(1.9f, -1.9f, 3)) == ZtVec3i(1, -1, 3));
    EXPECT_EQ(6442450944LL, ZtVec3l(1LL << 31, 1LL << 30, 0).dot(ZtVec3l(2, 2, 9)));
    EXPECT_DOUBLE_EQ(std::sqrt(3.0) * 2147483647.0,
                     ZtVec3i(2147483647, 2147483647, 2147483647).length());
}

TEST(Vec3f, NormalizeScalesByTheFloatReciprocalOfTheDoubleLength) {
    struct Row {
        const char* name;
        ZtVec3f v;
    };
    for (const Row& row : {Row{"plain", {3, 4, 12}}, Row{"odd", {0.1f, -0.7f, 1e-3f}},
                           Row{"squares beyond float", {1e30f, -2e30f, 5e29f}},
                           Row{"squares below float", {1e-30f, 1e-31f, 0}}}) {
        SCOPED_TRACE(row.name);
        ZtVec3f v = row.v;
        const double x = v.x, y = v.y, z = v.z;
        const double length = std::sqrt(x * x + y * y + z * z);
        EXPECT_EQ(static_cast<float>(length), v.normalize());
        EXPECT_EQ(row.v * static_cast<float>(1 / length), v);
    }
}

TEST(Vec3f, NormalizeLeavesZeroAndStaysFiniteForTheShortest) {
    ZtVec3f zero(0, -0.0f, 0);
    EXPECT_EQ(0, zero.normalize());
    EXPECT_EQ(ZtVec3f(), zero);
    ZtVec3f shortest(0, std::numeric_limits<float>::denorm_min(), 0);
    EXPECT_EQ(std::numeric_limits<float>::denorm_min(), shortest.normalize());
    EXPECT_EQ(ZtVec3f(0, 1, 0), shortest);
    ZtVec3f odd(std::nanf(""), 1, 0);
    EXPECT_TRUE(std::isnan(odd.normalize()) && std::isnan(odd.y));
}

}  // namespace
