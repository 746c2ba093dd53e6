// Inverses: of affine transforms on vectors of four doubles, of others by LU decomposition.
#include <ztlib/ZtMat4f.h>

#include <algorithm>
#include <cmath>

#include "LuDecomposition.h"
#include "VectorTypes.h"
#include "core/WideTargets.h"

namespace {

using Row = FourDoubles;
using Places = long long __attribute__((vector_size(32)));

// As `load`, in a form of which the compiler makes one instruction where there are wide ones.
[[gnu::always_inline]] inline void loadRow(const float* from, Row& to) {
    to = Row{from[0], from[1], from[2], from[3]};
}

[[gnu::always_inline]] inline void magnitudesOf(const Row& row, Row& magnitudes) {
    constexpr long long kAllButSign = 0x7FFFFFFFFFFFFFFF;
    magnitudes = (Row)((Places)row & kAllButSign);
}

// A row (x, y, z) turned to (y, z, x) and to (z, x, y).
struct Turned {
    Row yzx;
    Row zxy;
};

[[gnu::always_inline]] inline void turn(const Row& row, Turned& turned) {
    turned.yzx = __builtin_shuffle(row, Places{1, 2, 0, 3});
    turned.zxy = __builtin_shuffle(row, Places{2, 0, 1, 3});
}

// The columns of the inverse are the cross products of two rows each, divided by the determinant.
ZT_WIDE bool invertAffine(const float* in, float* out) {
    Row a, b, c, t;
    loadRow(in, a);
    loadRow(in + 4, b);
    loadRow(in + 8, c);
    loadRow(in + 12, t);
    Turned ta, tb, tc;
    turn(a, ta);
    turn(b, tb);
    turn(c, tc);

    const Row gained = tb.yzx * tc.zxy;
    const Row lost = tb.zxy * tc.yzx;
    const Row p = a * gained;  // the determinant's terms
    const Row n = a * lost;
    const Row terms = p - n;
    Row pSizes, nSizes;
    magnitudesOf(p, pSizes);
    magnitudesOf(n, nSizes);
    const Row sizes = pSizes + nSizes;
    // Both sums side by side; the last lanes are 0.
    const Row pairs = __builtin_shuffle(terms, sizes, Places{0, 4, 2, 6}) +
                      __builtin_shuffle(terms, sizes, Places{1, 5, 3, 7});
    const double det = pairs[0] + pairs[2];
    const double magnitude = pairs[1] + pairs[3];
    if (!(std::abs(det) >= 1e-15 * magnitude && magnitude > 0))  // also what is not a number
        return false;

    const double reciprocal = 1 / det;
    const Row u = (gained - lost) * reciprocal;
    const Row v = (tc.yzx * ta.zxy - tc.zxy * ta.yzx) * reciprocal;
    const Row w = (ta.yzx * tb.zxy - ta.zxy * tb.yzx) * reciprocal;
    const Row none = {};
    const Row uvLow = __builtin_shuffle(u, v, Places{0, 4, 2, 6});
    const Row uvHigh = __builtin_shuffle(u, v, Places{1, 5, 3, 7});
    const Row wLow = __builtin_shuffle(w, none, Places{0, 4, 2, 6});
    const Row wHigh = __builtin_shuffle(w, none, Places{1, 5, 3, 7});
    const Row x = __builtin_shuffle(uvLow, wLow, Places{0, 1, 4, 5});
    const Row y = __builtin_shuffle(uvHigh, wHigh, Places{0, 1, 4, 5});
    const Row z = __builtin_shuffle(uvLow, wLow, Places{2, 3, 6, 7});
    store(x, out);
    store(y, out + 4);
    store(z, out + 8);
    Row last = -(t[0] * x + t[1] * y + t[2] * z);
    last[3] = 1;
    store(last, out + 12);
    return true;
}

}  // namespace

int ZtMat4f::affine_inverse(const ZtMat4f& in, ZtMat4f& out) {
    const auto& m = in.m_;
    if (m[0][3] != 0 || m[1][3] != 0 || m[2][3] != 0 || m[3][3] != 1)
        return 0;
    return invertAffine(&m[0][0], &out.m_[0][0]) ? 1 : 0;
}

ZtMat4f ZtMat4f::inverse() const {
    ZtMat4f result;
    if (m_[0][0] == 1 && isIdentity())
        return result.makeIdentity();
    if (affine_inverse(*this, result) != 0)
        return result;
    // In double precision: a view's projection loses half of a float's digits.
    double factors[4][4];
    std::copy_n(&m_[0][0], 16, &factors[0][0]);
    int index[4];
    double parity;
    if (!luDecompose(factors, index, parity, 1e-20))
        return *this;
    for (int j = 0; j < 4; ++j) {
        double column[4] = {};
        column[j] = 1;
        luSolve(factors, index, column);
        for (int i = 0; i < 4; ++i)
            result.m_[i][j] = static_cast<float>(column[i]);
    }
    return result;
}
