// The kernels of dense matrices for every processor.
#include "numerics/DenseKernels.h"

#include "numerics/SumByHalves.inl"

namespace numerics {
namespace {

constexpr int kVectorBytes = 16;
// So that the tile fits the registers: a 32-bit processor shows half as many.
constexpr int kTileRows = sizeof(void*) == 4 ? 2 : 4;

template <class T, class Lanes>
inline void loadFirst(const T* from, int count, Lanes& to) {
    to = Lanes{};
    for (int i = 0; i < count; ++i)
        to[i] = from[i];
}

}  // namespace
}  // namespace numerics

#include "numerics/DenseKernels.inl"

const numerics::DenseForm* const numerics::kPlainForm = &numerics::kForm;
