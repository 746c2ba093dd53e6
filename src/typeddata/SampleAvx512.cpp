// The loops over blocks of 2 x 2 x 2 elements for processors with AVX-512 (its F, BW, DQ and VL
// parts). This unit is compiled for them, so nothing in it may be shared with others: all is in
// anonymous namespaces, and no inline function or template of other headers is used.
#include "typeddata/SampleKernels.h"

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)

namespace rawdata {
namespace {

#include "typeddata/SampleOctets.inl"

}  // namespace

const OctetKernels* const kAvx512Octets = &kOctets;

}  // namespace rawdata

#else

const rawdata::OctetKernels* const rawdata::kAvx512Octets = nullptr;

#endif
