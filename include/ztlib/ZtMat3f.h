// A 3 x 3 matrix of floats: linear maps, symmetric matrices and their eigenvectors.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec3f.h>

#include <cstdio>

/// Nine floats, row by row: `m[i][j]` is row i, column j. Vectors are rows and stand on the left,
/// so the image of v is v M (`multVecMatrix`) and A B applies A first. A plain value: no heap,
/// trivially copyable, zero until set.
class ZTLIB_API ZtMat3f {
public:
    ZtMat3f() = default;
    /// Row by row.
    ZtMat3f(float a00, float a01, float a02, float a10, float a11, float a12, float a20, float a21,
            float a22) {
        setValue(a00, a01, a02, a10, a11, a12, a20, a21, a22);
    }
    /// The three vectors become the columns (those of ZtMat4f::setValue become rows).
    ZtMat3f(const ZtVec3f& c0, const ZtVec3f& c1, const ZtVec3f& c2) {
        setValue(c0.x, c1.x, c2.x, c0.y, c1.y, c2.y, c0.z, c1.z, c2.z);
    }
    explicit ZtMat3f(const float m[3][3]) { setValue(m); }

    /// Sets all elements, row by row.
    ZtMat3f& setValue(float a00, float a01, float a02, float a10, float a11, float a12, float a20,
                      float a21, float a22);
    ZtMat3f& setValue(const float m[3][3]);
    ZtMat3f& setValue(const ZtMat3f& m) { return *this = m; }
    ZtMat3f& operator=(const float m[3][3]) { return setValue(m); }
    /// Copies the elements out, row by row.
    void getValue(float m[3][3]) const;

    /// Row `i`. Expects 0 <= i < 3.
    float* operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 3);
        return m_[i];
    }
    const float* operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 3);
        return m_[i];
    }

    /// Makes it the identity; `identity` returns one.
    ZtMat3f& makeIdentity() { return *this = identity(); }
    static ZtMat3f identity() { return ZtMat3f(1, 0, 0, 0, 1, 0, 0, 0, 1); }
    /// Fills the matrix with the quiet NaN 0x7FC00000.
    ZtMat3f& makeNaN();
    /// Whether no element is NaN.
    bool isNumber() const;

    /// Writes the rows as lines, each element as "%10.5g", tabs between them.
    void print(std::FILE* file) const;

    /// The determinant, expanded along row 0 in double precision.
    float det() const;
    /// The cofactor of (i, j): the minor without row i and column j, with its sign. Indices are
    /// taken cyclically from i + 1 and j + 1 on. Expects 0 <= i, j < 3.
    float subdet(int i, int j) const;
    float trace() const { return m_[0][0] + m_[1][1] + m_[2][2]; }

    /// dst = M src, the vector as a column. `src` and `dst` may be the same.
    void multMatrixVec(const ZtVec3f& src, ZtVec3f& dst) const;
    /// dst = src M, the vector as a row. `src` and `dst` may be the same.
    void multVecMatrix(const ZtVec3f& src, ZtVec3f& dst) const;

    /// this = this n: n is applied after this. n may be this matrix.
    ZtMat3f& multRight(const ZtMat3f& n) { return *this = *this * n; }
    /// this = n this: n is applied before this. n may be this matrix.
    ZtMat3f& multLeft(const ZtMat3f& n) { return *this = n * *this; }
    ZtMat3f& operator*=(const ZtMat3f& n) { return multRight(n); }
    friend ZTLIB_API ZtMat3f operator*(const ZtMat3f& a, const ZtMat3f& b);

    /// The matrix with rows and columns exchanged.
    ZtMat3f transpose() const;

    /// The adjugate times 1 / det, computed in double precision. The determinant is the caller's
    /// and is not tested.
    ZtMat3f inverse(float det) const;
    /// The same for a symmetric matrix: the elements below the diagonal are not read.
    ZtMat3f symmInverse(float det) const;
    /// The inverse; of a matrix whose determinant is exactly 0 the adjugate, without an error.
    ZtMat3f inverse() const;

    /// Replaces the matrix by its factors: U on and above the diagonal, L below it, whose diagonal
    /// is 1. Crout's method with partial pivoting and implicit row scaling; of equal candidates for
    /// a pivot the later row is taken. `index[j]` receives the row that step j exchanged with row
    /// j, `d` the parity of the exchanges, 1 or -1. Returns 1, or 0 at a row of zeros or a pivot of
    /// 0; the matrix is then as far as the decomposition came.
    int LUDecomposition(int index[3], float& d);

    /// Eigenvalues and unit eigenvectors of a symmetric matrix (elements below the diagonal are not
    /// read), in no particular order, by cyclic Jacobi rotations; `nrot` counts them. The vectors
    /// form a right-handed system. If 50 sweeps do not suffice (numbers that are not finite),
    /// writes a line to standard error; the values are then the last estimates and the vectors are
    /// left as they were.
    void jacobi(float evalues[3], ZtVec3f evectors[3], int& nrot) const;

    friend ZTLIB_API bool operator==(const ZtMat3f& a, const ZtMat3f& b);
    friend bool operator!=(const ZtMat3f& a, const ZtMat3f& b) { return !(a == b); }

private:
    float m_[3][3] = {};
};
