// The solver of linear equations for those who must tell a singular matrix from exhausted memory.
#pragma once

namespace ztdmatrix {

/// As the other `solve`, of a square matrix and without progress, but throws ZtMemoryException when
/// memory is exhausted, after the message.
int solveOrThrow(const float* a, int n, float** rhs, int nrhs);

}  // namespace ztdmatrix
