#include <ztlib/ZtMat3f.h>

#include <algorithm>
#include <cmath>

#include "Jacobi.h"
#include "LuDecomposition.h"
#include "QuietNaN.h"

namespace {

// In double precision, in which the products of two floats are exact.
double minorOf(const float (&m)[3][3], int r1, int r2, int c1, int c2) {
    return double(m[r1][c1]) * m[r2][c2] - double(m[r1][c2]) * m[r2][c1];
}

}  // namespace

ZtMat3f& ZtMat3f::setValue(float a00, float a01, float a02, float a10, float a11, float a12,
                           float a20, float a21, float a22) {
    const float m[3][3] = {{a00, a01, a02}, {a10, a11, a12}, {a20, a21, a22}};
    return setValue(m);
}

ZtMat3f& ZtMat3f::setValue(const float m[3][3]) {
    ZT_REQUIRE(m != nullptr);
    std::copy_n(&m[0][0], 9, &m_[0][0]);
    return *this;
}

void ZtMat3f::getValue(float m[3][3]) const {
    ZT_REQUIRE(m != nullptr);
    std::copy_n(&m_[0][0], 9, &m[0][0]);
}

ZtMat3f& ZtMat3f::makeNaN() {
    std::fill_n(&m_[0][0], 9, quietNaN());
    return *this;
}

bool ZtMat3f::isNumber() const {
    return std::none_of(&m_[0][0], &m_[0][0] + 9,
                        [](float element) { return std::isnan(element); });
}

bool operator==(const ZtMat3f& a, const ZtMat3f& b) {
    return std::equal(&a.m_[0][0], &a.m_[0][0] + 9, &b.m_[0][0]);
}

void ZtMat3f::print(std::FILE* file) const {
    for (const auto& row : m_)
        for (int j = 0; j < 3; ++j)
            std::fprintf(file, "%10.5g%c", static_cast<double>(row[j]), j < 2 ? '\t' : '\n');
}

float ZtMat3f::det() const {
    const double det = m_[0][0] * minorOf(m_, 1, 2, 1, 2) - m_[0][1] * minorOf(m_, 1, 2, 0, 2) +
                       m_[0][2] * minorOf(m_, 1, 2, 0, 1);
    return static_cast<float>(det);
}

float ZtMat3f::subdet(int i, int j) const {
    ZT_REQUIRE(i >= 0 && i < 3 && j >= 0 && j < 3);
    return static_cast<float>(minorOf(m_, (i + 1) % 3, (i + 2) % 3, (j + 1) % 3, (j + 2) % 3));
}

void ZtMat3f::multMatrixVec(const ZtVec3f& src, ZtVec3f& dst) const {
    dst = ZtVec3f(ZtVec3f(m_[0]).dot(src), ZtVec3f(m_[1]).dot(src), ZtVec3f(m_[2]).dot(src));
}

void ZtMat3f::multVecMatrix(const ZtVec3f& src, ZtVec3f& dst) const {
    dst = src.x * ZtVec3f(m_[0]) + src.y * ZtVec3f(m_[1]) + src.z * ZtVec3f(m_[2]);
}

ZtMat3f operator*(const ZtMat3f& a, const ZtMat3f& b) {
    ZtMat3f product;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            product.m_[i][j] =
                a.m_[i][0] * b.m_[0][j] + a.m_[i][1] * b.m_[1][j] + a.m_[i][2] * b.m_[2][j];
    return product;
}

ZtMat3f ZtMat3f::transpose() const {
    return ZtMat3f(ZtVec3f(m_[0]), ZtVec3f(m_[1]), ZtVec3f(m_[2]));
}

ZtMat3f ZtMat3f::inverse(float det) const {
    const double reciprocal = 1.0 / det;
    ZtMat3f inverse;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            inverse.m_[j][i] = static_cast<float>(
                minorOf(m_, (i + 1) % 3, (i + 2) % 3, (j + 1) % 3, (j + 2) % 3) * reciprocal);
    return inverse;
}

ZtMat3f ZtMat3f::symmInverse(float det) const {
    // Mirrored, so that only the upper half is read; each cofactor above the diagonal serves twice.
    const float m[3][3] = {{m_[0][0], m_[0][1], m_[0][2]},
                           {m_[0][1], m_[1][1], m_[1][2]},
                           {m_[0][2], m_[1][2], m_[2][2]}};
    const double reciprocal = 1.0 / det;
    ZtMat3f inverse;
    for (int i = 0; i < 3; ++i)
        for (int j = i; j < 3; ++j)
            inverse.m_[i][j] = inverse.m_[j][i] = static_cast<float>(
                minorOf(m, (i + 1) % 3, (i + 2) % 3, (j + 1) % 3, (j + 2) % 3) * reciprocal);
    return inverse;
}

ZtMat3f ZtMat3f::inverse() const {
    const float determinant = det();
    return inverse(determinant == 0 ? 1 : determinant);
}

int ZtMat3f::LUDecomposition(int index[3], float& d) {
    return luDecompose(m_, index, d, 0.0f) ? 1 : 0;
}

void ZtMat3f::jacobi(float evalues[3], ZtVec3f evectors[3], int& nrot) const {
    ZtMat3f a = *this;
    float values[3];
    float vectors[3][3];
    const bool converged = ::jacobi(a.m_, values, vectors, nrot);
    std::copy_n(values, 3, evalues);
    if (converged)
        for (int k = 0; k < 3; ++k)
            evectors[k].setValue(vectors[0][k], vectors[1][k], vectors[2][k]);
}
