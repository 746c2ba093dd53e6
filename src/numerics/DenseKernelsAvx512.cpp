// The kernels of dense matrices for processors with AVX512. The unit is compiled for them where the
// compiler can, else it is empty, and uses no inline function or template of other headers.
#include "numerics/DenseKernels.h"

#if !defined(__AVX512F__)

const numerics::DenseForm* const numerics::kAvx512Form = nullptr;

#else

#include <immintrin.h>

#include "numerics/SumByHalves.inl"

namespace numerics {
namespace {

constexpr int kVectorBytes = 64;
constexpr int kTileRows = 4;

inline void loadFirst(const float* from, int count, Float16& to) {
    to = _mm512_maskz_loadu_ps(static_cast<__mmask16>((1u << count) - 1), from);
}

inline void loadFirst(const double* from, int count, Double8& to) {
    to = _mm512_maskz_loadu_pd(static_cast<__mmask8>((1u << count) - 1), from);
}

}  // namespace
}  // namespace numerics

#include "numerics/DenseKernels.inl"

const numerics::DenseForm* const numerics::kAvx512Form = &numerics::kForm;

#endif
