// Eigenvalues and eigenvectors of symmetric 3 x 3 matrices by cyclic Jacobi rotations.
#pragma once

#include <cmath>
#include <cstdio>

/// Reads `a` on and above the diagonal and destroys it. Column k of `v` belongs to `values[k]`;
/// `rotations` counts. Returns false, after writing a line to standard error, if 50 sweeps do not
/// suffice. Rutishauser's variant: small elements are passed over during the first four sweeps, and
/// set to 0 later when they no longer change the diagonal.
template <class T>
bool jacobi(T (&a)[3][3], T (&values)[3], T (&v)[3][3], int& rotations) {
    T base[3];         // the diagonal as of the start of the sweep
    T change[3] = {};  // and what the sweep adds to it
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            v[i][j] = i == j ? T(1) : T(0);
        base[i] = values[i] = a[i][i];
    }
    rotations = 0;
    for (int sweep = 0; sweep < 50; ++sweep) {
        const T sum = std::abs(a[0][1]) + std::abs(a[0][2]) + std::abs(a[1][2]);
        if (sum == 0)
            return true;
        const T threshold = sweep < 4 ? static_cast<T>(0.022222223f) * sum : T(0);
        for (int p = 0; p < 2; ++p) {
            for (int q = p + 1; q < 3; ++q) {
                const T element = a[p][q];
                const T g = 100 * std::abs(element);
                if (sweep > 4 && std::abs(values[p]) + g == std::abs(values[p]) &&
                    std::abs(values[q]) + g == std::abs(values[q])) {
                    a[p][q] = 0;
                    continue;
                }
                if (!(std::abs(element) > threshold))
                    continue;
                const T difference = values[q] - values[p];
                T t;
                if (std::abs(difference) + g == std::abs(difference)) {
                    t = element / difference;
                } else {
                    const T theta = T(0.5) * difference / element;
                    t = 1 / (std::abs(theta) + std::sqrt(1 + theta * theta));
                    if (theta < 0)
                        t = -t;
                }
                const T c = 1 / std::sqrt(1 + t * t);
                const T s = t * c;
                const T tau = s / (1 + c);
                const auto rotate = [s, tau](T& x, T& y) {
                    const T x0 = x;
                    const T y0 = y;
                    x = x0 - s * (y0 + x0 * tau);
                    y = y0 + s * (x0 - y0 * tau);
                };
                const T h = t * element;
                change[p] -= h;
                change[q] += h;
                values[p] -= h;
                values[q] += h;
                a[p][q] = 0;
                const int other = 3 - p - q;
                rotate(other < p ? a[other][p] : a[p][other],
                       other < q ? a[other][q] : a[q][other]);
                for (int k = 0; k < 3; ++k)
                    rotate(v[k][p], v[k][q]);
                ++rotations;
            }
        }
        for (int i = 0; i < 3; ++i) {
            values[i] = base[i] += change[i];
            change[i] = 0;
        }
    }
    std::fputs("Too many iterations in routine jacobi\n", stderr);
    return false;
}
