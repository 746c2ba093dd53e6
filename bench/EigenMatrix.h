// Eigen's dense matrices as a peer, compiled for the processor's base and for AVX2 with FMA.
#pragma once

namespace bench {

// The same functions, each set in a library of its own: Eigen's templates must not be shared
// between code for different instruction sets. Matrices are n x n, column by column.
struct EigenMatrix {
    /// x = A^-1 b by PartialPivLU.
    void (*solve)(const float* a, const float* b, float* x, int n);
    /// c = a b.
    void (*multiply)(const float* a, const float* b, float* c, int n);
};

#define ZT_BENCH_PEER __attribute__((visibility("default")))
ZT_BENCH_PEER const EigenMatrix& eigenBase();
ZT_BENCH_PEER const EigenMatrix& eigenAvx2();

}  // namespace bench
