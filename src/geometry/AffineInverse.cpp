// The inverse of an affine transform, on vectors of four doubles, which the compiler makes of what
// the processor has.
#include <ztlib/ZtMat4f.h>

#include <cmath>
#include <cstring>

#include "core/WideTargets.h"

namespace {

using Floats = float __attribute__((vector_size(16)));
using Row = double __attribute__((vector_size(32)));
using Places = long long __attribute__((vector_size(32)));

// Vectors are handed over by reference only: passing them by value differs between instruction
// sets.
[[gnu::always_inline]] inline void load(const float* from, Row& to) {
    Floats floats;
    std::memcpy(&floats, from, sizeof floats);
    to = __builtin_convertvector(floats, Row);
}

[[gnu::always_inline]] inline void store(const Row& from, float* to) {
    const Floats floats = __builtin_convertvector(from, Floats);
    std::memcpy(to, &floats, sizeof floats);
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
    load(in, a);
    load(in + 4, b);
    load(in + 8, c);
    load(in + 12, t);
    Turned ta, tb, tc;
    turn(a, ta);
    turn(b, tb);
    turn(c, tc);

    const Row gained = tb.yzx * tc.zxy;
    const Row lost = tb.zxy * tc.yzx;
    const Row p = a * gained;  // the determinant's terms
    const Row n = a * lost;
    const Row terms = p - n;
    const double det = terms[0] + terms[1] + terms[2];
    const double magnitude = std::abs(p[0]) + std::abs(p[1]) + std::abs(p[2]) + std::abs(n[0]) +
                             std::abs(n[1]) + std::abs(n[2]);
    if (!(std::abs(det / magnitude) >= 1e-15))  // also where all terms are 0
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
    store(-(t[0] * x + t[1] * y + t[2] * z), out + 12);
    out[15] = 1;
    return true;
}

}  // namespace

int ZtMat4f::affine_inverse(const ZtMat4f& in, ZtMat4f& out) {
    const auto& m = in.m_;
    if (m[0][3] != 0 || m[1][3] != 0 || m[2][3] != 0 || m[3][3] != 1)
        return 0;
    return invertAffine(&m[0][0], &out.m_[0][0]) ? 1 : 0;
}
