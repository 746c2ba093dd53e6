// A 4 x 4 matrix of floats: affine and projective transforms of space.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec3f.h>
#include <ztlib/ZtVec4f.h>

class ZtRotation;

/// Sixteen floats, row by row: `m[i][j]` is row i, column j. Points are rows and stand on the left,
/// v' = v M, so A B applies A first. The translation of an affine transform is row 3, its column 3
/// is (0, 0, 0, 1). Angles are radians and rotations right-handed. A plain value: no heap,
/// trivially copyable, zero until set. Libraries with column vectors use the transposed matrix,
/// whose elements lie in memory in the same order where they store columns.
class ZTLIB_API ZtMat4f {
public:
    ZtMat4f() = default;
    /// Row by row.
    ZtMat4f(float a00, float a01, float a02, float a03, float a10, float a11, float a12, float a13,
            float a20, float a21, float a22, float a23, float a30, float a31, float a32,
            float a33) {
        setValue(a00, a01, a02, a03, a10, a11, a12, a13, a20, a21, a22, a23, a30, a31, a32, a33);
    }
    explicit ZtMat4f(const float m[4][4]) { setValue(m); }

    /// Sets all elements, row by row.
    ZtMat4f& setValue(float a00, float a01, float a02, float a03, float a10, float a11, float a12,
                      float a13, float a20, float a21, float a22, float a23, float a30, float a31,
                      float a32, float a33) {
        m_[0][0] = a00;
        m_[0][1] = a01;
        m_[0][2] = a02;
        m_[0][3] = a03;
        m_[1][0] = a10;
        m_[1][1] = a11;
        m_[1][2] = a12;
        m_[1][3] = a13;
        m_[2][0] = a20;
        m_[2][1] = a21;
        m_[2][2] = a22;
        m_[2][3] = a23;
        m_[3][0] = a30;
        m_[3][1] = a31;
        m_[3][2] = a32;
        m_[3][3] = a33;
        return *this;
    }
    ZtMat4f& setValue(const float m[4][4]);
    ZtMat4f& setValue(const ZtMat4f& m) { return *this = m; }
    /// Four rows of an affine transform; column 3 becomes (0, 0, 0, 1).
    ZtMat4f& setValue(const ZtVec3f& r0, const ZtVec3f& r1, const ZtVec3f& r2, const ZtVec3f& r3) {
        return setValue(r0.x, r0.y, r0.z, 0, r1.x, r1.y, r1.z, 0, r2.x, r2.y, r2.z, 0, r3.x, r3.y,
                        r3.z, 1);
    }
    ZtMat4f& operator=(const float m[4][4]) { return setValue(m); }
    ZtMat4f& operator=(const ZtRotation& r) { return setRotate(r); }
    void getValue(float m[4][4]) const;

    /// Row `i`. Expects 0 <= i < 4.
    float* operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 4);
        return m_[i];
    }
    const float* operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 4);
        return m_[i];
    }

    /// Makes it the identity; `identity` returns one.
    ZtMat4f& makeIdentity() { return *this = identity(); }
    static ZtMat4f identity() { return ZtMat4f(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1); }
    /// Whether every element is exactly that of the identity.
    bool isIdentity() const;
    /// Fills the matrix with the quiet NaN 0x7FC00000.
    ZtMat4f& makeNaN();
    /// Whether no element is NaN.
    bool isNumber() const;

    /// Makes it the map that scales, translates or rotates and does nothing else.
    ZtMat4f& setScale(float s) { return setScale(ZtVec3f(s, s, s)); }
    ZtMat4f& setScale(const ZtVec3f& s) {
        return setValue(s.x, 0, 0, 0, 0, s.y, 0, 0, 0, 0, s.z, 0, 0, 0, 0, 1);
    }
    ZtMat4f& setTranslate(const ZtVec3f& t) {
        return setValue(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, t.x, t.y, t.z, 1);
    }
    ZtMat4f& setRotate(const ZtRotation& r);

    /// this = this n: n is applied after this. n may be this matrix.
    ZtMat4f& multRight(const ZtMat4f& n) { return *this = *this * n; }
    /// this = n this: n is applied before this. n may be this matrix.
    ZtMat4f& multLeft(const ZtMat4f& n) { return *this = n * *this; }
    ZtMat4f& operator*=(const ZtMat4f& n) { return multRight(n); }
    friend ZtMat4f operator*(const ZtMat4f& a, const ZtMat4f& b) {
        ZtMat4f product;
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                product.m_[i][j] = a.m_[i][0] * b.m_[0][j] + a.m_[i][1] * b.m_[1][j] +
                                   a.m_[i][2] * b.m_[2][j] + a.m_[i][3] * b.m_[3][j];
        return product;
    }

    /// Transforms a point: with (X, Y, Z, W) = (src, 1) M, dst = (X, Y, Z) / W. Where W is 0 the
    /// result is not finite. `src` and `dst` may be the same.
    void multVecMatrix(const ZtVec3f& src, ZtVec3f& dst) const {
        const ZtVec4f p = rowProduct(src.x, src.y, src.z, 1);
        const float reciprocal = 1 / p.w;
        dst.setValue(p.x * reciprocal, p.y * reciprocal, p.z * reciprocal);
    }
    /// Transforms `count` points, each to the last bit as the form for one point does. `src` and
    /// `dst` may be the same array; otherwise they must not overlap.
    void multVecMatrix(const ZtVec3f* src, ZtVec3f* dst, int count) const;
    /// M (src, 1) as a column, divided by its fourth component. `src` and `dst` may be the same.
    void multMatrixVec(const ZtVec3f& src, ZtVec3f& dst) const {
        const ZtVec4f p = columnProduct(src.x, src.y, src.z, 1);
        const float reciprocal = 1 / p.w;
        dst.setValue(p.x * reciprocal, p.y * reciprocal, p.z * reciprocal);
    }
    /// Transforms a direction by the upper left 3 x 3 alone. `src` and `dst` may be the same.
    void multDirMatrix(const ZtVec3f& src, ZtVec3f& dst) const {
        const float x = src.x * m_[0][0] + src.y * m_[1][0] + src.z * m_[2][0];
        const float y = src.x * m_[0][1] + src.y * m_[1][1] + src.z * m_[2][1];
        const float z = src.x * m_[0][2] + src.y * m_[1][2] + src.z * m_[2][2];
        dst.setValue(x, y, z);
    }
    /// dst = src M, all four components, no division. `src` and `dst` may be the same.
    void multVecMatrix(const ZtVec4f& src, ZtVec4f& dst) const {
        dst = rowProduct(src.x, src.y, src.z, src.w);
    }
    /// dst = M src, the vector as a column, no division. `src` and `dst` may be the same.
    void multMatrixVec(const ZtVec4f& src, ZtVec4f& dst) const {
        dst = columnProduct(src.x, src.y, src.z, src.w);
    }

    /// The matrix with rows and columns exchanged.
    ZtMat4f transpose() const;

    /// The determinant of the three rows and columns, in double precision. Expects indices 0..3.
    float det3(int r1, int r2, int r3, int c1, int c2, int c3) const;
    /// The determinant of the upper left 3 x 3.
    float det3() const { return det3(0, 1, 2, 0, 1, 2); }
    /// The determinant of the whole matrix, in double precision.
    float det4() const;

    /// Whether no element differs by more than `tolerance`; false where one is NaN.
    bool equals(const ZtMat4f& n, float tolerance) const;
    friend ZTLIB_API bool operator==(const ZtMat4f& a, const ZtMat4f& b);
    friend bool operator!=(const ZtMat4f& a, const ZtMat4f& b) { return !(a == b); }

    /// The inverse, by `affine_inverse` where that succeeds, else by LU decomposition. A singular
    /// matrix is not reported: one with a row of zeros comes back as it is, another with huge or
    /// infinite elements. Ask `det4` first where that matters.
    ZtMat4f inverse() const;
    /// Inverts a matrix whose column 3 is exactly (0, 0, 0, 1), in double precision. Returns 1, or
    /// 0 if it is not or if the 3 x 3 determinant is below 1e-15 times the sum of the magnitudes of
    /// its six terms; `out` is then not written. `in` and `out` may be the same.
    static int affine_inverse(const ZtMat4f& in, ZtMat4f& out);

    /// Replaces the matrix by its factors: U on and above the diagonal, L below it, whose diagonal
    /// is 1. Crout's method with partial pivoting and implicit row scaling; of equal candidates for
    /// a pivot the later row is taken, and a pivot of exactly 0 becomes 1e-20. `index[j]` receives
    /// the row that step j exchanged with row j, `d` the parity of the exchanges, 1 or -1. Returns
    /// 1, or 0, the matrix unchanged, if a row holds zeros only.
    int LUDecomposition(int index[4], float& d);
    /// Solves A x = b in place, A being the matrix whose factors this holds and `index` its
    /// exchanges.
    void LUBackSubstitution(const int index[4], float b[4]) const;

    /// ZtMat3f::jacobi of the upper left 3 x 3.
    void jacobi3(float evalues[3], ZtVec3f evectors[3], int& nrot) const;

    /// Composes a transform: a point is moved by -center, scaled by s along the axes that `so`
    /// turns from the frame's, rotated by r, moved back by the center and then by t.
    ZtMat4f& setTransform(const ZtVec3f& t, const ZtRotation& r, const ZtVec3f& s);
    ZtMat4f& setTransform(const ZtVec3f& t, const ZtRotation& r, const ZtVec3f& s,
                          const ZtRotation& so);
    ZtMat4f& setTransform(const ZtVec3f& t, const ZtRotation& r, const ZtVec3f& s,
                          const ZtRotation& so, const ZtVec3f& center);

    /// Takes an affine transform apart so that setTransform with the same center composes it again.
    /// A mirroring one has three negative scales. Scales come in no particular order. Where
    /// `factor` fails, t is row 3 and the rest the identity.
    void getTransform(ZtVec3f& t, ZtRotation& r, ZtVec3f& s, ZtRotation& so) const;
    void getTransform(ZtVec3f& t, ZtRotation& r, ZtVec3f& s, ZtRotation& so,
                      const ZtVec3f& center) const;

    /// Polar factorisation: the upper left 3 x 3 is r^T diag(s) r u with r's rows the axes of the
    /// scaling, u a rotation and s of the determinant's sign; t is row 3 and proj the identity.
    /// Returns false, with only t and proj set, if the determinant's magnitude is below 1e-12. Its
    /// eigenvalues are computed in double precision.
    bool factor(ZtMat4f& r, ZtVec3f& s, ZtMat4f& u, ZtVec3f& t, ZtMat4f& proj) const;

private:
    ZtVec4f rowProduct(float x, float y, float z, float w) const {
        return ZtVec4f(x * m_[0][0] + y * m_[1][0] + z * m_[2][0] + w * m_[3][0],
                       x * m_[0][1] + y * m_[1][1] + z * m_[2][1] + w * m_[3][1],
                       x * m_[0][2] + y * m_[1][2] + z * m_[2][2] + w * m_[3][2],
                       x * m_[0][3] + y * m_[1][3] + z * m_[2][3] + w * m_[3][3]);
    }
    ZtVec4f columnProduct(float x, float y, float z, float w) const {
        return ZtVec4f(m_[0][0] * x + m_[0][1] * y + m_[0][2] * z + m_[0][3] * w,
                       m_[1][0] * x + m_[1][1] * y + m_[1][2] * z + m_[1][3] * w,
                       m_[2][0] * x + m_[2][1] * y + m_[2][2] * z + m_[2][3] * w,
                       m_[3][0] * x + m_[3][1] * y + m_[3][2] * z + m_[3][3] * w);
    }

    float m_[4][4] = {};
};
