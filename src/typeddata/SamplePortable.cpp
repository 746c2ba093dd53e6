// The loops of down-sampling for every processor.
#include "typeddata/SampleKernels.h"

namespace rawdata {
namespace {

#include "typeddata/SampleLoops.inl"

}  // namespace

constexpr SampleKernels kPortableSampling = kTable;

}  // namespace rawdata
