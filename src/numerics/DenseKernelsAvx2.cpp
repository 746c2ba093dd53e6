// The kernels of dense matrices for processors with AVX2. The unit is compiled for them where the
// compiler can, else it is empty, and uses no inline function or template of other headers.
#include "numerics/DenseKernels.h"

#if !defined(__AVX2__)

const numerics::DenseForm* const numerics::kAvx2Form = nullptr;

#else

#include <immintrin.h>

#include "numerics/SumByHalves.inl"

namespace numerics {
namespace {

constexpr int kVectorBytes = 32;
constexpr int kTileRows = 4;

inline void loadFirst(const float* from, int count, Float8& to) {
    const __m256i places = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    to = _mm256_maskload_ps(from, _mm256_cmpgt_epi32(_mm256_set1_epi32(count), places));
}

inline void loadFirst(const double* from, int count, Double4& to) {
    const __m256i places = _mm256_setr_epi64x(0, 1, 2, 3);
    to = _mm256_maskload_pd(from, _mm256_cmpgt_epi64(_mm256_set1_epi64x(count), places));
}

}  // namespace
}  // namespace numerics

#include "numerics/DenseKernels.inl"

const numerics::DenseForm* const numerics::kAvx2Form = &numerics::kForm;

#endif
