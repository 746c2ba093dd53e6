// The loops of down-sampling for every processor.
#include "typeddata/SampleKernels.h"

namespace rawdata {
namespace {

#include "typeddata/SampleLoops.inl"
#include "typeddata/SampleOctets.inl"

}  // namespace

constexpr SampleKernels kPortableSampling = kTable;
constexpr OctetKernels kPortableOctets = kOctets;

}  // namespace rawdata
