// A rotation of space as a unit quaternion.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtVec3f.h>

#include <cmath>

/// A unit quaternion, stored x, y, z, w: the vector part first, the scalar last. Rotations are
/// right-handed: about +z, the x axis turns towards the y axis. Angles are radians. Vectors are
/// rows, so the image of v is v M with M the rotation's matrix, and a * b turns by a first, then by
/// b. A plain value: no heap, trivially copyable, the identity until set.
class ZTLIB_API ZtRotation {
public:
    ZtRotation() = default;
    /// The four numbers, scaled to unit length; not numbers where all are 0.
    ZtRotation(float x, float y, float z, float w) { setValue(x, y, z, w); }
    explicit ZtRotation(const float q[4]) { setValue(q); }
    explicit ZtRotation(decltype(nullptr)) = delete;
    /// Turns about `axis`, of any length, by `angle` radians. A zero axis stays zero.
    ZtRotation(const ZtVec3f& axis, float angle) { setValue(axis, angle); }
    /// The shortest rotation that carries the direction `from` to the direction `to`; for opposite
    /// ones half a turn about from x X, or from x Y if that is 0. The identity if one is zero.
    ZtRotation(const ZtVec3f& from, const ZtVec3f& to) { setValue(from, to); }
    /// Carries fromDir onto toDir and turns about toDir until the image of fromUp meets toUp.
    /// Expects the ups as unit vectors at right angles to their directions.
    ZtRotation(const ZtVec3f& fromDir, const ZtVec3f& fromUp, const ZtVec3f& toDir,
               const ZtVec3f& toUp) {
        setValue(fromDir, fromUp, toDir, toUp);
    }
    /// The rotation of the upper left 3 x 3, expected to be one; the result is not normalised.
    explicit ZtRotation(const ZtMat4f& m) { setValue(m); }

    /// Makes it the rotation that the constructor of the same arguments makes.
    ZtRotation& setValue(float x, float y, float z, float w);
    ZtRotation& setValue(const float q[4]) { return setValue(q[0], q[1], q[2], q[3]); }
    ZtRotation& setValue(const ZtVec3f& axis, float angle);
    ZtRotation& setValue(const ZtVec3f& from, const ZtVec3f& to);
    ZtRotation& setValue(const ZtVec3f& fromDir, const ZtVec3f& fromUp, const ZtVec3f& toDir,
                         const ZtVec3f& toUp);
    ZtRotation& setValue(const ZtMat4f& m) {
        const float m00 = m[0][0], m11 = m[1][1], m22 = m[2][2], m33 = m[3][3];
        const float trace = m00 + m11 + m22;
        if (m00 > m11 ? (m00 > m22 ? trace > m00 : trace > m22)
                      : (m11 > m22 ? trace > m11 : trace > m22)) {
            const double root = std::sqrt(double(trace + m33));
            const auto f = static_cast<float>(0.5 / root);
            q_[0] = (m[1][2] - m[2][1]) * f;
            q_[1] = (m[2][0] - m[0][2]) * f;
            q_[2] = (m[0][1] - m[1][0]) * f;
            q_[3] = static_cast<float>(root / 2);
            return *this;
        }
        if (m00 > m11)
            return m00 > m22 ? setLargest<0>(m) : setLargest<2>(m);
        return m11 > m22 ? setLargest<1>(m) : setLargest<2>(m);
    }

    /// The quaternion as x, y, z, w.
    const float* getValue() const { return q_; }
    void getValue(float& x, float& y, float& z, float& w) const;
    /// Axis and angle; (0, 0, 1) and 0 where the vector part is no longer than 1e-5.
    void getValue(ZtVec3f& axis, float& angle) const;
    /// The rotation's matrix.
    void getValue(ZtMat4f& m) const {
        const float x = q_[0], y = q_[1], z = q_[2], w = q_[3];
        const float x2 = 2 * x, y2 = 2 * y, z2 = 2 * z;  // doubled first: fewer operations, exact
        m.setValue(1 - (y2 * y + z2 * z), x2 * y + z2 * w, x2 * z - y2 * w, 0,  //
                   x2 * y - z2 * w, 1 - (x2 * x + z2 * z), y2 * z + x2 * w, 0,  //
                   x2 * z + y2 * w, y2 * z - x2 * w, 1 - (x2 * x + y2 * y), 0,  //
                   0, 0, 0, 1);
    }

    /// Component `i` of x, y, z, w. Expects 0 <= i < 4.
    float& operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 4);
        return q_[i];
    }
    float operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 4);
        return q_[i];
    }

    /// Makes it the rotation by nothing; `identity` returns one.
    ZtRotation& makeIdentity() { return *this = identity(); }
    static ZtRotation identity() { return {}; }
    /// Whether no component is NaN.
    bool isNumber() const;

    /// The conjugate divided by the squared norm.
    ZtRotation& invert();
    ZtRotation inverse() const { return ZtRotation(*this).invert(); }

    /// this = this * q, normalised. Rounds differently than `operator*`, which is not normalised.
    ZtRotation& operator*=(const ZtRotation& q);
    /// The rotation by a, then by b, not normalised.
    friend ZTLIB_API ZtRotation operator*(const ZtRotation& a, const ZtRotation& b);

    /// dst = src, rotated. `src` and `dst` may be the same.
    void multVec(const ZtVec3f& src, ZtVec3f& dst) const;

    /// Multiplies the angle by f; the axis stays.
    ZtRotation& scaleAngle(float f);

    /// From a (t = 0) to b or -b (t = 1) at constant speed along the shorter arc; along the chord
    /// where they nearly coincide. Not normalised. t may lie outside 0..1.
    static ZtRotation slerp(const ZtRotation& a, const ZtRotation& b, float t);

    /// Compares the components exactly: q and -q differ although they turn alike.
    friend bool operator==(const ZtRotation& a, const ZtRotation& b) {
        return a.q_[0] == b.q_[0] && a.q_[1] == b.q_[1] && a.q_[2] == b.q_[2] && a.q_[3] == b.q_[3];
    }
    friend bool operator!=(const ZtRotation& a, const ZtRotation& b) { return !(a == b); }
    /// Whether no component exceeds that of q by `tolerance` or more. One-sided: components that
    /// are smaller than q's by any amount count as equal.
    bool equals(const ZtRotation& q, float tolerance) const;

private:
    // From a matrix whose diagonal element i is the largest, and larger than the trace.
    template <int i>
    ZtRotation& setLargest(const ZtMat4f& m) {
        constexpr int j = (i + 1) % 3;
        constexpr int k = (i + 2) % 3;
        const double root = std::sqrt(double(m[i][i] - m[j][j] - m[k][k] + m[3][3]));
        const auto f = static_cast<float>(0.5 / root);
        q_[i] = static_cast<float>(root / 2);
        q_[j] = (m[j][i] + m[i][j]) * f;
        q_[k] = (m[k][i] + m[i][k]) * f;
        q_[3] = (m[j][k] - m[k][j]) * f;
        return *this;
    }

    double norm() const;
    void normalize();
    ZtRotation& store(double x, double y, double z, double w);

    float q_[4] = {0, 0, 0, 1};
};
