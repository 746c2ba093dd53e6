// Eigen's part of the comparison of dense matrices; EIGEN_FORM names the function to define.
#include "EigenMatrix.h"

#include <Eigen/LU>

namespace bench {
namespace {

using Matrix = Eigen::Map<const Eigen::MatrixXf>;
using Vector = Eigen::Map<const Eigen::VectorXf>;

void solve(const float* a, const float* b, float* x, int n) {
    Eigen::Map<Eigen::VectorXf>(x, n) =
        Eigen::PartialPivLU<Eigen::MatrixXf>(Matrix(a, n, n)).solve(Vector(b, n));
}

void multiply(const float* a, const float* b, float* c, int n) {
    Eigen::Map<Eigen::MatrixXf>(c, n, n).noalias() = Matrix(a, n, n) * Matrix(b, n, n);
}

}  // namespace

const EigenMatrix& EIGEN_FORM() {
    static const EigenMatrix functions = {solve, multiply};
    return functions;
}

}  // namespace bench
