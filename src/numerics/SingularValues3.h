// The singular value decomposition of 3 x 3 matrices, as the alignment of points uses it.
#pragma once

namespace numerics {

/// A 3 x 3 matrix as the sum over k of w[k] times left[k] (a column) times right[k] (a row).
template <class T>
struct SingularValues3 {
    T left[3][3];
    T w[3];
    T right[3][3];
};

/// Decomposes the matrix of row-major elements `a` as ZtDMatrix::svd does. Returns 0, after its
/// message, when that does not converge.
template <class T>
int decompose3(const T* a, SingularValues3<T>& out, int maxIterations);

extern template int decompose3(const float*, SingularValues3<float>&, int);
extern template int decompose3(const double*, SingularValues3<double>&, int);

}  // namespace numerics
