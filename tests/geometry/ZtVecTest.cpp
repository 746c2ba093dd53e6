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

TYPED_TEST(Vec, IsAPlainValueWithArithmeticComponentByComponent) {
    using V = TypeParam;
    using T = std::remove_reference_t<decltype(V().x)>;
    static_assert(std::is_trivially_copyable_v<V> && std::is_standard_layout_v<V>);
    static_assert(!std::is_convertible_v<T, V> && !std::is_convertible_v<const T*, V>);
    static_assert(!std::is_constructible_v<V, T> && !std::is_constructible_v<V, decltype(nullptr)>);
    constexpr int kCount = static_cast<int>(sizeof(V) / sizeof(T));
    V a, b;
    for (int i = 0; i < kCount; ++i) {
        EXPECT_EQ(0, a[i]);
        a[i] = static_cast<T>(7 + 3 * i);
        b[i] = static_cast<T>(2 - 5 * i);
    }
    const V same(a.getValue());
    T dot = 0;
    for (int i = 0; i < kCount; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(a[i], same[i]);
        EXPECT_EQ(a[i] + b[i], (a + b)[i]);
        EXPECT_EQ(a[i] - b[i], (a - b)[i]);
        EXPECT_EQ(-a[i], (-a)[i]);
        EXPECT_EQ(a[i] * 3, (a * T(3))[i]);
        EXPECT_EQ(a[i] * 3, (T(3) * a)[i]);
        EXPECT_EQ(a[i] / 3, (a / T(3))[i]);
        V changed = a;
        changed[i] += 2;
        EXPECT_TRUE(changed != a && !(changed == a));
        EXPECT_TRUE(changed.equals(a, 2) && a.equals(changed, 2));
        EXPECT_FALSE(changed.equals(a, 1) || a.equals(changed, 1));
        dot = static_cast<T>(dot + a[i] * b[i]);
    }
    EXPECT_EQ(dot, a.dot(b));
    EXPECT_EQ(a.dot(a), a.length2());
    EXPECT_NEAR(std::sqrt(static_cast<double>(a.dot(a))), static_cast<double>(a.length()), 1e-5);
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(a[kCount], BrokenContract);
    }
}

TEST(Vec3, CrossProductIsRightHandedAndConstant) {
    static_assert(ZtVec3i(1, 2, 3).cross(ZtVec3i(4, 5, 6)) == ZtVec3i(-3, 6, -3));
    static_assert(ZtVec2i(1, 0).cross(ZtVec2i(0, 1)) == 1);
    static_assert(ZtVec3i(ZtVec3f(1.9f, -1.9f, 3)) == ZtVec3i(1, -1, 3));
    EXPECT_EQ(6442450944LL, ZtVec3l(1LL << 31, 1LL << 30, 0).dot(ZtVec3l(2, 2, 9)));
}

TEST(Vec3f, NormalizeScalesByTheFloatReciprocalOfTheDoubleLength) {
    // Plain ones, squares beyond and below what floats hold.
    for (const ZtVec3f& given : {ZtVec3f(3, 4, 12), ZtVec3f(0.1f, -0.7f, 1e-3f),
                                 ZtVec3f(1e30f, -2e30f, 5e29f), ZtVec3f(1e-30f, 1e-31f, 0)}) {
        ZtVec3f v = given;
        const double length = ZtVec3d(given).length();
        EXPECT_EQ(static_cast<float>(length), v.normalize());
        EXPECT_EQ(given * static_cast<float>(1 / length), v);
    }
    ZtVec3f zero(0, -0.0f, 0), shortest(0, std::numeric_limits<float>::denorm_min(), 0);
    EXPECT_EQ(0, zero.normalize());
    EXPECT_EQ(ZtVec3f(), zero);
    EXPECT_EQ(std::numeric_limits<float>::denorm_min(), shortest.normalize());
    EXPECT_EQ(ZtVec3f(0, 1, 0), shortest);
    ZtVec3f odd(std::nanf(""), 1, 0);
    EXPECT_TRUE(std::isnan(odd.normalize()) && std::isnan(odd.y));
}

}  // namespace
