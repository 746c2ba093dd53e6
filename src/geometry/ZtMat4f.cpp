#include <ztlib/ZtMat3f.h>
#include <ztlib/ZtMat4f.h>

#include <algorithm>
#include <cmath>

#include "LuDecomposition.h"
#include "QuietNaN.h"

namespace {

// Minors of two rows, in double precision, in which the products of two floats are exact.
double minorOf(const float* r1, const float* r2, int c1, int c2) {
    return double(r1[c1]) * r2[c2] - double(r1[c2]) * r2[c1];
}

}  // namespace

ZtMat4f& ZtMat4f::setValue(const float m[4][4]) {
    ZT_REQUIRE(m != nullptr);
    std::copy_n(&m[0][0], 16, &m_[0][0]);
    return *this;
}

void ZtMat4f::getValue(float m[4][4]) const {
    ZT_REQUIRE(m != nullptr);
    std::copy_n(&m_[0][0], 16, &m[0][0]);
}

bool ZtMat4f::isIdentity() const {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (m_[i][j] != (i == j ? 1.0f : 0.0f))
                return false;
    return true;
}

ZtMat4f& ZtMat4f::makeNaN() {
    std::fill_n(&m_[0][0], 16, quietNaN());
    return *this;
}

bool ZtMat4f::isNumber() const {
    return std::none_of(&m_[0][0], &m_[0][0] + 16,
                        [](float element) { return std::isnan(element); });
}

bool operator==(const ZtMat4f& a, const ZtMat4f& b) {
    return std::equal(&a.m_[0][0], &a.m_[0][0] + 16, &b.m_[0][0]);
}

bool ZtMat4f::equals(const ZtMat4f& n, float tolerance) const {
    return std::equal(&m_[0][0], &m_[0][0] + 16, &n.m_[0][0],
                      [tolerance](float a, float b) { return std::abs(a - b) <= tolerance; });
}

ZtMat4f ZtMat4f::transpose() const {
    ZtMat4f transposed;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            transposed.m_[j][i] = m_[i][j];
    return transposed;
}

float ZtMat4f::det3(int r1, int r2, int r3, int c1, int c2, int c3) const {
    const float* const a = (*this)[r1];
    const float* const b = (*this)[r2];
    const float* const c = (*this)[r3];
    return static_cast<float>(a[c1] * minorOf(b, c, c2, c3) - a[c2] * minorOf(b, c, c1, c3) +
                              a[c3] * minorOf(b, c, c1, c2));
}

float ZtMat4f::det4() const {
    // Laplace's expansion along the first two rows.
    const float* const a = m_[0];
    const float* const b = m_[1];
    const float* const c = m_[2];
    const float* const d = m_[3];
    return static_cast<float>(
        minorOf(a, b, 0, 1) * minorOf(c, d, 2, 3) - minorOf(a, b, 0, 2) * minorOf(c, d, 1, 3) +
        minorOf(a, b, 0, 3) * minorOf(c, d, 1, 2) + minorOf(a, b, 1, 2) * minorOf(c, d, 0, 3) -
        minorOf(a, b, 1, 3) * minorOf(c, d, 0, 2) + minorOf(a, b, 2, 3) * minorOf(c, d, 0, 1));
}

int ZtMat4f::LUDecomposition(int index[4], float& d) {
    return luDecompose(m_, index, d, 1e-20f) ? 1 : 0;
}

void ZtMat4f::LUBackSubstitution(const int index[4], float b[4]) const {
    luSolve(m_, index, b);
}

void ZtMat4f::jacobi3(float evalues[3], ZtVec3f evectors[3], int& nrot) const {
    ZtMat3f(m_[0][0], m_[0][1], m_[0][2], m_[1][0], m_[1][1], m_[1][2], m_[2][0], m_[2][1],
            m_[2][2])
        .jacobi(evalues, evectors, nrot);
}
