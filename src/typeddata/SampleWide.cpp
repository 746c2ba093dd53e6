// The loops of down-sampling for processors with AVX2. This unit is compiled for them, so nothing
// in it may be shared with others: all is in anonymous namespaces, and no inline function or
// template of other headers is used.
#include "typeddata/SampleKernels.h"

#if defined(__AVX2__)

namespace rawdata {
namespace {

#include "typeddata/SampleLoops.inl"
#include "typeddata/SampleOctets.inl"

}  // namespace

const SampleKernels* const kWideSampling = &kTable;
const OctetKernels* const kAvx2Octets = &kOctets;

}  // namespace rawdata

#else

const rawdata::SampleKernels* const rawdata::kWideSampling = nullptr;
const rawdata::OctetKernels* const rawdata::kAvx2Octets = nullptr;

#endif
