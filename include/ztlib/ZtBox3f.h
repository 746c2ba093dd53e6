// An axis-aligned box of floats.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtVec3f.h>

#include <limits>

/// An axis-aligned box as six floats, in the order xmin, xmax, ymin, ymax, zmin, zmax. A plain
/// value: no heap, trivially copyable, empty until set. Vectors and pointers do not convert to it
/// by themselves.
class ZtBox3f {
public:
    /// The bounds. A box that nothing was added to yet has its least bounds above its greatest
    /// ones.
    float xmin = std::numeric_limits<float>::max();
    float xmax = -std::numeric_limits<float>::max();
    float ymin = std::numeric_limits<float>::max();
    float ymax = -std::numeric_limits<float>::max();
    float zmin = std::numeric_limits<float>::max();
    float zmax = -std::numeric_limits<float>::max();

    ZtBox3f() = default;
    /// A box from its bounds, least and greatest in turn for x, y and z.
    ZtBox3f(float x0, float x1, float y0, float y1, float z0, float z1)
        : xmin(x0), xmax(x1), ymin(y0), ymax(y1), zmin(z0), zmax(z1) {}
    explicit ZtBox3f(const float b[6]) : ZtBox3f(b[0], b[1], b[2], b[3], b[4], b[5]) {}
    explicit ZtBox3f(decltype(nullptr)) = delete;
    /// A box from its least and its greatest corner.
    ZtBox3f(const ZtVec3f& min, const ZtVec3f& max)
        : ZtBox3f(min.x, max.x, min.y, max.y, min.z, max.z) {}

    /// Number `i` in the order above. Expects 0 <= i < 6.
    float& operator[](int i) { return this->*member(i); }
    float operator[](int i) const { return this->*member(i); }
    /// The six numbers in the order above, as an array.
    const float* getValue() const { return &xmin; }

    /// Whether no point lies inside: a minimum above its maximum, or not a number.
    bool isEmpty() const { return !(xmin <= xmax && ymin <= ymax && zmin <= zmax); }

    /// Corner `k`: bit 0 of k chooses between minimum and maximum in x, bit 1 in y, bit 2 in z.
    /// Expects 0 <= k < 8.
    ZtVec3f corner(int k) const {
        ZT_REQUIRE(k >= 0 && k < 8);
        return ZtVec3f(k & 1 ? xmax : xmin, k & 2 ? ymax : ymin, k & 4 ? zmax : zmin);
    }

private:
    static float ZtBox3f::*member(int i) {
        ZT_REQUIRE(i >= 0 && i < 6);
        static constexpr float ZtBox3f::*kMembers[] = {&ZtBox3f::xmin, &ZtBox3f::xmax,
                                                       &ZtBox3f::ymin, &ZtBox3f::ymax,
                                                       &ZtBox3f::zmin, &ZtBox3f::zmax};
        return kMembers[i];
    }
};
